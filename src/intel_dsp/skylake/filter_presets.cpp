#include "intel_dsp/skylake/filter_presets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

#include "dsp_math/elementary.h"
#include "dsp_math/filter_design.h"
#include "dsp_math/filter_steps.h"
#include "intel_dsp/equalizer_bands.h"

namespace orv {
namespace {

// The tunings: for the small loudspeakers of a portable device. Each lifts what such a loudspeaker
// loses at the ends of its range, thins out its box resonance and keeps clear of what it cannot
// play; all of it stays below half of the lowest sample rate, so that one row serves every rate.
constexpr std::array kPassing = {
    FilterBand{kORVFilter_Gain, 1000, 1, 0, 0}, FilterBand{kORVFilter_Gain, 1000, 1, 0, 0},
    FilterBand{kORVFilter_Gain, 1000, 1, 0, 0}, FilterBand{kORVFilter_Gain, 1000, 1, 0, 0}};
constexpr std::array kIirOnly = {FilterBand{kORVFilter_LowShelf, 180, 0.8F, 3, 0},
                                 FilterBand{kORVFilter_Traditional, 850, 1.4F, -3, 0},
                                 FilterBand{kORVFilter_HighShelf, 7000, 0.8F, 2.5F, 0}};
constexpr std::array kIirFir = {FilterBand{kORVFilter_LowShelf, 180, 0.8F, 3, 0},
                                FilterBand{kORVFilter_Traditional, 850, 1.4F, -3, 0},
                                FilterBand{kORVFilter_Traditional, 3200, 2, -1.5F, 0},
                                FilterBand{kORVFilter_HighShelf, 7000, 0.8F, 2.5F, 0}};
constexpr std::array kFirOnly = {FilterBand{kORVFilter_LowShelf, 180, 0.8F, 3, 0}};

struct Preset {
  float high_pass;  // corner in Hz of a Butterworth filter; 0 without one
  std::int32_t high_pass_order;
  bool equalizer;
  std::span<const FilterBand> bands;
  std::int32_t fir_length;  // one less than the taps; -1 without
  float fir_corner;         // Hz, of a linear-phase low-pass; 0 passes everything on
};

constexpr std::array<Preset, 7> kPresets = {{
    {0, 0, false, kPassing, 56, 0},      // Default
    {0, 0, true, kIirOnly, -1, 0},       // IirOnly
    {0, 0, true, kIirFir, 56, 14000},    // IirFir
    {0, 0, true, kFirOnly, 49, 14000},   // Fir50
    {0, 0, true, kFirOnly, 256, 14000},  // Fir257
    {80, 6, false, {}, -1, 0},           // HpfA: a woofer of its own
    {160, 6, false, {}, -1, 0},          // HpfB: a full-range loudspeaker
}};

std::int32_t SampleRate(int rate) {
  if (rate == 32) return 32000;
  return rate == 44 ? 44100 : 48000;
}

// A windowed sinc of `count` taps (Blackman), 0 dB at 0 Hz.
std::vector<double> LowPassTaps(std::size_t count, double corner, double sample_rate) {
  std::vector<double> taps(count);
  const double last = static_cast<double>(count - 1);
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double turn = 2 * kPi * static_cast<double>(i) / last;
    const double window = 0.42 - 0.5 * Cosine(turn) + 0.08 * Cosine(2 * turn);
    const double x = 2 * kPi * corner / sample_rate * (static_cast<double>(i) - last / 2);
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
std::vector<std::int32_t> FirSet(const Preset& preset, std::int32_t sample_rate) {
  const auto count = static_cast<std::size_t>(preset.fir_length) + 1;
  std::vector<double> taps(count);
  if (preset.fir_corner > 0)
    taps = LowPassTaps(count, preset.fir_corner, sample_rate);
  else
    taps[0] = 1;
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

}  // namespace

FilterCoefficients MakeFilterPreset(std::uint32_t type, int rate) {
  const Preset& preset = kPresets[type < kPresets.size() ? type : 0];
  const std::int32_t sample_rate = SampleRate(rate);
  FilterCoefficients filter;
  filter.high_pass = preset.high_pass > 0;
  filter.high_pass_order = preset.high_pass_order;
  if (filter.high_pass)
    filter.high_pass_words = DesignHighPass(preset.high_pass, preset.high_pass_order, sample_rate);
  filter.equalizer = preset.equalizer;
  filter.iir_order = 2 * static_cast<std::int32_t>(preset.bands.size());
  filter.iir_words = DesignEqualizer(preset.bands, sample_rate);
  filter.fir_length = preset.fir_length;
  if (preset.fir_length > 0) filter.fir_words = FirSet(preset, sample_rate);
  return filter;
}

}  // namespace orv
