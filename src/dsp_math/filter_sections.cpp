// Float designs of Butterworth cascades and parametric bands.
#include <algorithm>
#include <cmath>

#include "dsp_math/elementary.h"
#include "dsp_math/filter_steps.h"

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

// Numerator and denominator of a band as they are textbooks write them.
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

}  // namespace orv
