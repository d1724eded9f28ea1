// Fixed-point filters for the signal processors: Butterworth cascades, cascades of parametric bands
// and the bass-enhancement set.
//
// A design of n sections is 6n + 2 signed words: for each section its shift s, then b0, b1, b2, a1,
// a2, and after the last section the shift and the overall gain. With W bits in a word, a word's
// value is word * 2^(s-W). A section computes y = b0 x + s0; s0' = b1 x + a1 y + s1;
// s1' = b2 x + a2 y; a1 and a2 carry the sign of the feedback. No node of a cascade can overflow.
//
// Nothing allocates: every design works in storage of its caller, of any alignment, FilterWorkspace
// bytes of it. A design that does not decay (a pole on or outside the unit circle) is scaled by
// what the first 65536 blocks of 128 samples reach, or by the largest sums in single precision.
// The words are the same on every processor and build.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

inline constexpr std::int32_t kFilterOk = 0;
// A frequency at or above half the sample rate, or an unknown Butterworth kind.
inline constexpr std::int32_t kFilterRefused = -1000;

enum FilterBandType : std::int32_t {
  kORVFilter_Traditional = 0,  // symmetric boost and cut: a cut undoes the same boost exactly
  kORVFilter_LowShelf = 1,
  kORVFilter_HighShelf = 2,
  kORVFilter_LowPass = 3,
  kORVFilter_HighPass = 4,
  kORVFilter_BandPass = 5,  // 0 dB at the centre, times the gain
  kORVFilter_AllPass = 6,   // times the gain
  kORVFilter_Notch = 7,
  kORVFilter_Peaking = 8,
  kORVFilter_Gain = 9,  // the gain and nothing else
};

enum ButterworthKind : std::int32_t {
  kButterworthLowPass = 0,
  kButterworthHighPass = 1,
};

struct FilterBand {
  std::int32_t type;    // a FilterBandType; any other keeps what the workspace holds
  float frequency;      // Hz; centre or corner
  float q;              // quality factor; slope for the shelves, unused by low- and high-pass
  float gain_db;        // dB; resonance for low- and high-pass
  std::int32_t invert;  // non-zero inverts the polarity

  bool operator==(const FilterBand&) const = default;
};
static_assert(sizeof(FilterBand) == 20);

struct FilterSet {
  std::int32_t band_count;
  const FilterBand* bands;
  std::int32_t sample_rate;  // Hz
};

inline constexpr std::size_t kBassEnhancementWords = 24;

// Sections of a Butterworth filter of this order; none below 1.
constexpr std::size_t ButterworthSections(std::int32_t order) noexcept {
  return order > 0 ? (static_cast<std::size_t>(order) + 1) / 2 : 0;
}
// Words of a design of so many sections.
constexpr std::size_t FilterWords(std::size_t sections) noexcept { return 6 * sections + 2; }
// Bytes of working storage for a design of so many sections (1 for the bass-enhancement set): the
// float design, the scaling run and what aligning to 8 bytes may cost.
constexpr std::size_t FilterWorkspace(std::size_t sections) noexcept {
  return 8 + sizeof(float) * ((5 * sections + 1) + (5 * sections + 384));
}

// Frequencies in Hz. `words` takes FilterWords(sections) words, untouched when the design is
// refused. Without sections (no order, no bands) only the gain of 1 is written.
std::int32_t DesignButterworth16(float frequency, std::int32_t order, std::int32_t sample_rate,
                                 std::int32_t kind, std::int16_t* words, void* workspace);
std::int32_t DesignButterworth32(float frequency, std::int32_t order, std::int32_t sample_rate,
                                 std::int32_t kind, std::int32_t* words, void* workspace);
std::int32_t DesignFilterSet(const FilterSet& set, std::int32_t* words, void* workspace);

// From the sizes of a loudspeaker in Hz. Words 0-7 and 8-15: for the audio and the analysis size a
// first-order low-pass (b0 = b1, then a1, value * 2^31) and two resonators (each b2 = -b0, then a1
// and a2, value * 2^30); words 16-23: an all-pass section in the format above. The status is that
// of the all-pass; when it is refused its words are untouched, the others are written.
std::int32_t DesignBassEnhancementFilters(float audio_size, float analysis_size,
                                          std::int32_t sample_rate, std::int32_t* words,
                                          void* workspace);

}  // namespace orv
