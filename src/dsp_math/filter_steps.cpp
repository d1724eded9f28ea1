// Float designs of Butterworth cascades, parametric bands and resonators, and their words.
#include "dsp_math/filter_steps.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dsp_math/elementary.h"

namespace orv {
namespace {

bool AtOrAboveHalf(float frequency, std::int32_t sample_rate) {
  return frequency >= static_cast<float>(sample_rate / 2);
}

constexpr float Single(double value) { return static_cast<float>(value); }

FilterSection FirstOrder(double k, bool low_pass) {
  FilterSection section{};
  section.b0 = Single((low_pass ? k : 1) / (k + 1));
  section.b1 = low_pass ? section.b0 : -section.b0;
  section.a1 = Single(-(k - 1) / (k + 1));
  return section;
}

FilterSection SecondOrder(double k, double c, bool low_pass) {
  const double d = Single(1 - 2 * c * k + k * k);
  FilterSection section{};
  section.b0 = Single((low_pass ? k * k : 1) / d);
  section.b1 = (low_pass ? 2 : -2) * section.b0;
  section.b2 = section.b0;
  section.a1 = Single(-(2 * k * k - 2) / d);
  section.a2 = Single(-(1 + 2 * c * k + k * k) / d);
  return section;
}

// Numerator and denominator of a band as textbooks write them.
struct Biquad {
  double b0, b1, b2;
  double a0, a1, a2;
};

Biquad Traditional(double w0, double q, double gain) {
  const double t = Tangent(w0 / (3 * q));
  const double m = std::min(gain, 1.0);
  const double middle = -2 * m * Cosine(w0);
  return {t * gain + m, middle, m - t * gain, t + m, middle, m - t};
}

// `root` is the square root of the gain, `width` the term 2 sqrt(root) alpha.
Biquad LowShelf(double root, double cosine, double width) {
  const double up = root + 1;
  const double down = root - 1;
  return {root * (up - down * cosine + width), 2 * root * (down - up * cosine),
          root * (up - down * cosine - width), up + down * cosine + width,
          -2 * (down + up * cosine),           up + down * cosine - width};
}
Biquad HighShelf(double root, double cosine, double width) {
  const double up = root + 1;
  const double down = root - 1;
  return {root * (up + down * cosine + width),
          -2 * root * (down + up * cosine),
          root * (up + down * cosine - width),
          up - down * cosine + width,
          2 * (down - up * cosine),
          up - down * cosine - width};
}

// False for an unknown type.
bool DesignBiquad(const FilterBand& band, double w0, Biquad& biquad) {
  const double gain = DecibelsToGain(band.gain_db);
  const double root = __builtin_sqrt(gain);
  const double sine = Sine(w0);
  const double cosine = Cosine(w0);
  const bool resonance_is_gain =
      band.type == kORVFilter_LowPass || band.type == kORVFilter_HighPass;
  const double alpha = sine / (2 * (resonance_is_gain ? gain : band.q));
  // The floor keeps the widest slopes real.
  const double width =
      sine * __builtin_sqrt(std::max(0.0081, (1.0 / band.q - 1) * (gain + 1) + 2 * root));
  biquad = {0, 0, 0, 1 + alpha, -2 * cosine, 1 - alpha};
  const auto numerator = [&](double b0, double b1, double b2) {
    biquad.b0 = b0;
    biquad.b1 = b1;
    biquad.b2 = b2;
  };
  switch (band.type) {
    case kORVFilter_Traditional:
      biquad = Traditional(w0, band.q, gain);
      return true;
    case kORVFilter_LowShelf:
      biquad = LowShelf(root, cosine, width);
      return true;
    case kORVFilter_HighShelf:
      biquad = HighShelf(root, cosine, width);
      return true;
    case kORVFilter_LowPass:
      numerator((1 - cosine) / 2, 1 - cosine, (1 - cosine) / 2);
      return true;
    case kORVFilter_HighPass:
      numerator((1 + cosine) / 2, -(1 + cosine), (1 + cosine) / 2);
      return true;
    case kORVFilter_BandPass:
      numerator(gain * alpha, 0, -gain * alpha);
      return true;
    case kORVFilter_AllPass:
      numerator(gain * (1 - alpha), -2 * gain * cosine, gain * (1 + alpha));
      return true;
    case kORVFilter_Notch:
      numerator(1, -2 * cosine, 1);
      return true;
    case kORVFilter_Peaking:
      biquad = {1 + alpha * root, -2 * cosine, 1 - alpha * root,
                1 + alpha / root, -2 * cosine, 1 - alpha / root};
      return true;
    case kORVFilter_Gain:
      biquad = {gain, 0, 0, 1, 0, 0};
      return true;
    default:
      return false;
  }
}

constexpr float kSmallestLargeSize = 275;  // Hz; from here on the resonators lie closer together

struct Resonator {
  double centre;  // Hz
  double gain;    // dB at the centre
  double quality;
};

// The analogue resonator's poles mapped by z = e^(sT), zeros at 0 and half the rate: -G, a1, a2.
void DesignResonator(const Resonator& resonator, std::int32_t sample_rate, bool single_cosine,
                     float* values) {
  const double w = 2 * kPi * resonator.centre / sample_rate;
  const double r = Exponential(-kPi * resonator.centre / (sample_rate * resonator.quality));
  const double theta = __builtin_sqrt(1 - 1 / (4 * resonator.quality * resonator.quality)) * w;
  const double a1 = 2 * r * Cosine(theta);
  const double cosine = single_cosine ? static_cast<float>(Cosine(w)) : Cosine(w);
  const double cosine2 = Cosine(2 * w);
  const double sine2 = Sine(2 * w);
  const double real = cosine2 - a1 * cosine + r * r;
  const double imaginary = sine2 - a1 * Sine(w);
  const double denominator = __builtin_sqrt(real * real + imaginary * imaginary);
  const double numerator = __builtin_sqrt((1 - cosine2) * (1 - cosine2) + sine2 * sine2);
  values[0] = static_cast<float>(-DecibelsToGain(resonator.gain) * denominator / numerator);
  values[1] = static_cast<float>(a1);
  values[2] = static_cast<float>(-r * r);
}

constexpr int kMostBits = std::numeric_limits<float>::max_exponent + 1;

template <class Word>
Word Quantise(float value, int shift) {
  return RoundToWord<Word>(std::ldexp(value, std::numeric_limits<Word>::digits + 1 - shift));
}

}  // namespace

std::int32_t DesignButterworthSections(float frequency, std::int32_t order,
                                       std::int32_t sample_rate, std::int32_t kind,
                                       FilterSection* sections) {
  if (kind != kButterworthLowPass && kind != kButterworthHighPass) return kFilterRefused;
  if (AtOrAboveHalf(frequency, sample_rate)) return kFilterRefused;
  const bool low_pass = kind == kButterworthLowPass;
  const double k = Single(Tangent(kPi * frequency / sample_rate));
  if (order > 0 && order % 2 != 0) *sections++ = FirstOrder(k, low_pass);
  for (std::int32_t i = 0; i < order / 2; ++i) {
    const double angle = (order + 1.0 + 2.0 * i) * kPi / (2.0 * order);
    *sections++ = SecondOrder(k, Single(Cosine(angle)), low_pass);
  }
  return kFilterOk;
}

void DesignBand(const FilterBand& band, std::int32_t sample_rate, FilterSection& section) {
  Biquad biquad;
  if (!DesignBiquad(band, static_cast<double>(band.frequency) * 2 * kPi / sample_rate, biquad)) {
    return;
  }
  section = {Single(biquad.b0 / biquad.a0), Single(biquad.b1 / biquad.a0),
             Single(biquad.b2 / biquad.a0), Single(-biquad.a1 / biquad.a0),
             Single(-biquad.a2 / biquad.a0)};
  if (band.invert != 0) {
    section.b0 = -section.b0;
    section.b1 = -section.b1;
    section.b2 = -section.b2;
  }
}

std::int32_t DesignCascade(const FilterSet& set, FilterSection* sections) {
  for (std::int32_t i = 0; i < set.band_count; ++i) {
    if (AtOrAboveHalf(set.bands[i].frequency, set.sample_rate)) return kFilterRefused;
    DesignBand(set.bands[i], set.sample_rate, sections[i]);
  }
  return kFilterOk;
}

std::array<float, 8> DesignResonatorSet(float size, std::int32_t sample_rate) {
  const double f = size;
  const bool small = size < kSmallestLargeSize;
  const Resonator first = small ? Resonator{1.01 * f, -2.5, 2.1} : Resonator{1.05 * f, 1.5, 1.77};
  const Resonator second =
      small ? Resonator{1.75 * f, 6.1, 1.34} : Resonator{1.05 * f + 147, 5.4, 1.82};
  std::array<float, 8> values{};
  // Bilinear transform without pre-warping; the corner lies where the magnitude falls by 3 dB.
  const double corner = 2 * kPi * f;
  const double bilinear = 2.0 * sample_rate * __builtin_sqrt(DecibelsToGain(6) - 1);
  values[0] = static_cast<float>(corner / (corner + bilinear));
  values[1] = static_cast<float>((bilinear - corner) / (bilinear + corner));
  DesignResonator(first, sample_rate, true, &values[2]);
  DesignResonator(second, sample_rate, false, &values[5]);
  return values;
}

float AllPassFrequency(float audio_size) {
  const double f = audio_size;
  return static_cast<float>(audio_size < kSmallestLargeSize ? f * 2.835 : f * 1.701 + 283.5);
}

int HeadroomBits(float magnitude) {
  if (magnitude == 0) return 0;
  if (!std::isfinite(magnitude)) return kMostBits;
  int exponent = 0;  // of a fraction within 0.5..1
  std::frexp(magnitude, &exponent);
  return std::max(exponent + 1, 0);
}

template <class Word>
Word RoundToWord(float value) {
  if (std::isnan(value)) return 0;
  const double rounded = static_cast<double>(value) + (value >= 0 ? 0.5 : -0.5);
  return static_cast<Word>(std::clamp<double>(rounded, std::numeric_limits<Word>::min(),
                                              std::numeric_limits<Word>::max()));
}

template <class Word>
void QuantiseSections(const FilterSection* sections, std::size_t count, float gain, Word* words) {
  for (const FilterSection* section = sections; section != sections + count; ++section) {
    const float values[] = {section->b0, section->b1, section->b2, section->a1, section->a2};
    float largest = 0;
    for (const float value : values) largest = std::max(largest, std::fabs(value));
    const int shift = HeadroomBits(largest);
    *words++ = static_cast<Word>(shift);
    for (const float value : values) *words++ = Quantise<Word>(value, shift);
  }
  const int shift = HeadroomBits(gain);
  *words++ = static_cast<Word>(shift);
  *words = Quantise<Word>(gain, shift);
}

template std::int16_t RoundToWord(float);
template std::int32_t RoundToWord(float);
template void QuantiseSections(const FilterSection*, std::size_t, float, std::int16_t*);
template void QuantiseSections(const FilterSection*, std::size_t, float, std::int32_t*);

}  // namespace orv
