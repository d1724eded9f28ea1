#include "intel_dsp/skylake/filter_blocks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <span>
#include <utility>

#include "dsp_math/elementary.h"
#include "dsp_math/filter_steps.h"
#include "intel_dsp/filter_designs.h"
#include "records/fields.h"

namespace orv::skylake {
namespace {

constexpr const char* kWriter = "SetVQ3DFilterCoeff";

// The tunings are for the small loudspeakers of a portable device: each boosts both ends of the
// range and reduces the resonance of the box.
constexpr std::array kIirOnly = {FilterBand{kORVFilter_LowShelf, 180, 0.8F, 3, 0},
                                 FilterBand{kORVFilter_Traditional, 850, 1.4F, -3, 0},
                                 FilterBand{kORVFilter_HighShelf, 7000, 0.8F, 2.5F, 0}};
constexpr std::array kIirFir = {FilterBand{kORVFilter_LowShelf, 180, 0.8F, 3, 0},
                                FilterBand{kORVFilter_Traditional, 850, 1.4F, -3, 0},
                                FilterBand{kORVFilter_Traditional, 3200, 2, -1.5F, 0},
                                FilterBand{kORVFilter_HighShelf, 7000, 0.8F, 2.5F, 0}};
constexpr std::array kFirOnly = {FilterBand{kORVFilter_LowShelf, 180, 0.8F, 3, 0}};

constexpr double kFirCorner = 14000;  // Hz, of a linear-phase low-pass

struct Preset {
  float high_pass;  // corner in Hz of a Butterworth filter; 0 without one
  std::int32_t high_pass_order;
  std::span<const FilterBand> bands;  // without bands the equaliser is not sent
  std::int32_t fir_length;            // one less than the taps; -1 without
};

constexpr std::array<Preset, 7> kPresets = {{
    {0, 0, {}, -1},         // Default
    {0, 0, kIirOnly, -1},   // IirOnly
    {0, 0, kIirFir, 56},    // IirFir
    {0, 0, kFirOnly, 49},   // Fir50
    {0, 0, kFirOnly, 256},  // Fir257
    {80, 6, {}, -1},        // HpfA: a woofer of its own
    {160, 6, {}, -1},       // HpfB: a full-range loudspeaker
}};

// A windowed sinc of `count` taps (Blackman), 0 dB at 0 Hz.
std::vector<double> LowPassTaps(std::size_t count) {
  std::vector<double> taps(count);
  const double last = static_cast<double>(count - 1);
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double turn = 2 * kPi * static_cast<double>(i) / last;
    const double window = 0.42 - 0.5 * Cosine(turn) + 0.08 * Cosine(2 * turn);
    const double x = 2 * kPi * kFirCorner / kIntelSampleRate * (static_cast<double>(i) - last / 2);
    taps[i] = window * (x == 0 ? 1 : Sine(x) / x);
    sum += taps[i];
  }
  for (double& tap : taps) tap /= sum;
  return taps;
}

void AppendScaled(std::vector<std::int32_t>& words, double value, int shift) {
  words.push_back(RoundToWord<std::int32_t>(static_cast<float>(std::ldexp(value, 32 - shift))));
}

// Like a section: scaled so that no output exceeds full scale, the overall gain restoring it.
std::vector<std::int32_t> FirSet(std::size_t count) {
  const std::vector<double> taps = LowPassTaps(count);
  double level = 0;
  double largest = 0;
  for (const double tap : taps) {
    level += std::fabs(tap);
    largest = std::max(largest, std::fabs(tap));
  }
  const int shift = HeadroomBits(static_cast<float>(largest / level));
  std::vector<std::int32_t> words{shift};
  for (const double tap : taps) AppendScaled(words, tap / level, shift);
  const int gain_shift = HeadroomBits(static_cast<float>(level));
  words.push_back(gain_shift);
  AppendScaled(words, level, gain_shift);
  return words;
}

class BlockBuilder {
 public:
  explicit BlockBuilder(const FilterLayout& layout) : layout_(layout) {
    try {
      bytes_.reserve(layout.capacity);
    } catch (const std::bad_alloc&) {
      throw IntelException(kWriter, "malloc failed");
    }
  }

  void Append(std::int32_t word) {
    Grow(sizeof word);
    StoreField(bytes_, bytes_.size() - sizeof word, FieldType::I32, word);
  }
  void Append(const std::vector<std::int32_t>& words, std::size_t count) {
    if (words.data() == nullptr) throw IntelException("VerifyPointers()", "pointers are null");
    if (words.size() != count) throw IntelException(kWriter, "set does not fit its order");
    for (const std::int32_t word : words) Append(word);
  }
  // The equaliser's part of the header.
  void AppendHeader(const FilterCoefficients& filter) {
    Append(filter.equalizer ? 1 : 0);
    Append(filter.equalizer ? filter.iir_order : 0);
    const std::int32_t fir_length = filter.fir_length > 0 ? filter.fir_length : -1;
    Append(filter.equalizer ? fir_length : 0);
  }
  std::vector<std::byte> Finish(const FilterCoefficients& filter) {
    if (filter.equalizer) {
      Append(filter.iir_words, IirWords(filter.iir_order));
      if (filter.fir_length > 0) Append(filter.fir_words, FirWords(filter.fir_length));
    }
    Grow(layout_.trailer);
    return std::move(bytes_);
  }

 private:
  void Grow(std::size_t size) {
    if (bytes_.size() + size > layout_.capacity) throw IntelException(kWriter, "block is full");
    bytes_.resize(bytes_.size() + size);
  }

  const FilterLayout& layout_;
  std::vector<std::byte> bytes_;
};

void VerifyOrders(const FilterCoefficients& filter) {
  if (!filter.equalizer) return;
  VerifyFilterOrder(filter.iir_order, 0, kMostIirOrder);
  VerifyFilterOrder(std::int64_t{filter.fir_length} + 1, 0, kMostFirTaps);
}

}  // namespace

std::size_t IirWords(std::int32_t order) { return FilterWords(ButterworthSections(order)); }

std::size_t FirWords(std::int32_t length) {
  return length > 0 ? static_cast<std::size_t>(length) + 4 : 0;
}

FilterCoefficients MakeFilterPreset(std::uint32_t type) {
  const Preset& preset = kPresets[type < kPresets.size() ? type : 0];
  FilterCoefficients filter;
  filter.high_pass = preset.high_pass > 0;
  filter.high_pass_order = preset.high_pass_order;
  if (filter.high_pass)
    filter.high_pass_words = DesignHighPass(preset.high_pass, preset.high_pass_order);
  filter.equalizer = !preset.bands.empty();
  filter.iir_order = 2 * static_cast<std::int32_t>(preset.bands.size());
  filter.iir_words = DesignEqualizer(preset.bands);
  filter.fir_length = preset.fir_length;
  if (preset.fir_length > 0)
    filter.fir_words = FirSet(static_cast<std::size_t>(preset.fir_length) + 1);
  return filter;
}

void VerifyFilterOrder(std::int64_t value, std::int64_t minimum, std::int64_t maximum) {
  if (value < minimum || value > maximum)
    throw IntelException("VerifyFilterOrder()", "filter order out of range");
}

std::vector<std::byte> MakeLeftFilterBlock(const FilterCoefficients& filter) {
  if (filter.high_pass)
    VerifyFilterOrder(filter.high_pass_order, kFewestHighPassOrder, kMostHighPassOrder);
  VerifyOrders(filter);
  BlockBuilder block(kLeftFilterLayout);
  block.Append(filter.high_pass ? 1 : 0);
  block.Append(filter.high_pass ? filter.high_pass_order : 0);
  block.Append(1);
  block.AppendHeader(filter);
  if (filter.high_pass) block.Append(filter.high_pass_words, IirWords(filter.high_pass_order));
  return block.Finish(filter);
}

std::vector<std::byte> MakeRightFilterBlock(const FilterCoefficients& filter) {
  VerifyOrders(filter);
  BlockBuilder block(kRightFilterLayout);
  block.AppendHeader(filter);
  return block.Finish(filter);
}

}  // namespace orv::skylake
