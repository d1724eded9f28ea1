// The response of a cascade: magnitude at any frequency, poles, and how far a
// quantised cascade is from the design it was made of.
#pragma once

#include <complex>
#include <cstddef>
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

  // Frequency and sample rate in Hz.
  std::complex<double> Response(double frequency, double sample_rate) const;
  double Decibels(double frequency, double sample_rate) const;  // -inf at an exact zero

  double PoleRadius() const;  // the largest distance of a pole from zero
  bool Stable() const { return PoleRadius() < 1; }
  // Of the poles, in Hz: a response turns sharpest there.
  std::vector<double> PoleFrequencies(double sample_rate) const;

 private:
  std::vector<Section> sections_;
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
