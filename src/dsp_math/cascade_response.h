// What a cascade does to a signal: magnitude, phase and group delay at any frequency, poles, and
// how far a quantised cascade lies from the design it was made of.
#pragma once

#include <complex>
#include <cstddef>
#include <utility>
#include <vector>

#include "dsp_math/filter_steps.h"

namespace orv {

class Cascade {
 public:
  // a1 and a2 with the sign of the feedback.
  struct Section {
    double b0;
    double b1;
    double b2;
    double a1;
    double a2;
  };

  explicit Cascade(std::vector<Section> sections, double gain = 1);
  Cascade(const FilterSection* sections, std::size_t count, double gain = 1);
  // The words of a design of `count` sections; Word is int16_t or int32_t.
  template <class Word>
  static Cascade FromWords(const Word* words, std::size_t count);

  // This cascade with all of `next` behind it.
  void Append(const Cascade& next);
  // A filter without feedback behind the sections: the factors of the sample and of those before.
  void AppendTaps(std::vector<double> taps) { taps_.push_back(std::move(taps)); }

  // Frequency and sample rate in Hz.
  std::complex<double> Response(double frequency, double sample_rate) const;
  double Decibels(double frequency, double sample_rate) const;  // -inf at an exact zero
  double Phase(double frequency, double sample_rate) const;     // degrees, -180..180
  // In samples; not finite at an exact zero.
  double GroupDelay(double frequency, double sample_rate) const;

  double PoleRadius() const;  // the largest distance of a pole from zero
  bool Stable() const { return PoleRadius() < 1; }
  // Of the poles, in Hz: a response turns sharpest there.
  std::vector<double> PoleFrequencies(double sample_rate) const;

 private:
  std::vector<Section> sections_;
  std::vector<std::vector<double>> taps_;
  double gain_;
};

struct Deviation {
  double frequency;  // Hz
  double decibels;   // magnitude of `actual` over that of `ideal`
};

// Below this a response counts as silence, in dB.
inline constexpr double kSilence = -120;

// The largest deviation from `low` to `high` Hz. Looks at 1000 frequencies a logarithmic step apart
// and at every pole, then closes in on the largest.
Deviation LargestDeviation(const Cascade& ideal, const Cascade& actual, double sample_rate,
                           double low, double high);

}  // namespace orv
