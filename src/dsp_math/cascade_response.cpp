#include "dsp_math/cascade_response.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>

#include "dsp_math/elementary.h"

namespace orv {
namespace {

// The two poles, roots of z^2 - a1 z - a2.
std::array<std::complex<double>, 2> Poles(const Cascade::Section& section) {
  const std::complex<double> half = section.a1 / 2;
  const std::complex<double> root = std::sqrt(half * half + section.a2);
  return {half + root, half - root};
}

// Sums of the coefficients times powers of the delay, and of each term times its power: their
// quotient's real part is the polynomial's group delay in samples.
struct Polynomial {
  std::complex<double> value;
  std::complex<double> weighted;

  Polynomial(const double* begin, const double* end, std::complex<double> delay) {
    std::complex<double> power = 1;
    for (const double* term = begin; term != end; ++term, power *= delay) {
      value += *term * power;
      weighted += static_cast<double>(term - begin) * *term * power;
    }
  }
  double Delay() const { return (weighted / value).real(); }
};

double DecibelsBetween(const Cascade& ideal, const Cascade& actual, double sample_rate,
                       double frequency) {
  return std::max(actual.Decibels(frequency, sample_rate), kSilence) -
         std::max(ideal.Decibels(frequency, sample_rate), kSilence);
}

}  // namespace

Cascade::Cascade(std::vector<Section> sections, double gain)
    : sections_(std::move(sections)), gain_(gain) {}

Cascade::Cascade(const FilterSection* sections, std::size_t count, double gain) : gain_(gain) {
  for (const FilterSection* section = sections; section != sections + count; ++section) {
    sections_.push_back({section->b0, section->b1, section->b2, section->a1, section->a2});
  }
}

template <class Word>
Cascade Cascade::FromWords(const Word* words, std::size_t count) {
  constexpr int kBits = std::numeric_limits<Word>::digits + 1;
  const auto value = [](Word word, Word shift) { return std::ldexp(word, shift - kBits); };
  std::vector<Section> sections;
  for (; sections.size() < count; words += 6) {
    const Word shift = words[0];
    sections.push_back({value(words[1], shift), value(words[2], shift), value(words[3], shift),
                        value(words[4], shift), value(words[5], shift)});
  }
  return Cascade(std::move(sections), value(words[1], words[0]));
}

void Cascade::Append(const Cascade& next) {
  sections_.insert(sections_.end(), next.sections_.begin(), next.sections_.end());
  taps_.insert(taps_.end(), next.taps_.begin(), next.taps_.end());
  gain_ *= next.gain_;
}

template Cascade Cascade::FromWords(const std::int16_t*, std::size_t);
template Cascade Cascade::FromWords(const std::int32_t*, std::size_t);

std::complex<double> Cascade::Response(double frequency, double sample_rate) const {
  const std::complex<double> delay = std::polar(1.0, -2 * kPi * frequency / sample_rate);
  std::complex<double> response = gain_;
  for (const Section& section : sections_) {
    response *= (section.b0 + (section.b1 + section.b2 * delay) * delay) /
                (1.0 - (section.a1 + section.a2 * delay) * delay);
  }
  for (const std::vector<double>& taps : taps_)
    response *= Polynomial(taps.data(), taps.data() + taps.size(), delay).value;
  return response;
}

double Cascade::GroupDelay(double frequency, double sample_rate) const {
  const std::complex<double> delay = std::polar(1.0, -2 * kPi * frequency / sample_rate);
  double samples = 0;
  for (const Section& section : sections_) {
    const double forward[] = {section.b0, section.b1, section.b2};
    const double feedback[] = {1, -section.a1, -section.a2};
    samples += Polynomial(std::begin(forward), std::end(forward), delay).Delay() -
               Polynomial(std::begin(feedback), std::end(feedback), delay).Delay();
  }
  for (const std::vector<double>& taps : taps_)
    samples += Polynomial(taps.data(), taps.data() + taps.size(), delay).Delay();
  return samples;
}

double Cascade::Decibels(double frequency, double sample_rate) const {
  return 20 * std::log10(std::abs(Response(frequency, sample_rate)));
}

double Cascade::Phase(double frequency, double sample_rate) const {
  return std::arg(Response(frequency, sample_rate)) * 180 / kPi;
}

double Cascade::PoleRadius() const {
  double radius = 0;
  for (const Section& section : sections_) {
    for (const auto& pole : Poles(section)) radius = std::max(radius, std::abs(pole));
  }
  return radius;
}

std::vector<double> Cascade::PoleFrequencies(double sample_rate) const {
  std::vector<double> frequencies;
  for (const Section& section : sections_) {
    frequencies.push_back(std::abs(std::arg(Poles(section)[0])) * sample_rate / (2 * kPi));
  }
  return frequencies;
}

Deviation LargestDeviation(const Cascade& ideal, const Cascade& actual, double sample_rate,
                           double low, double high) {
  constexpr int kSteps = 1000;
  const double step = std::pow(high / low, 1.0 / kSteps);
  const auto deviation = [&](double frequency) {
    return DecibelsBetween(ideal, actual, sample_rate, frequency);
  };
  std::vector<double> frequencies = ideal.PoleFrequencies(sample_rate);
  for (int i = 0; i <= kSteps; ++i) frequencies.push_back(low * std::pow(step, i));
  Deviation largest{low, deviation(low)};
  const auto look = [&](double frequency) {
    if (frequency < low || frequency > high) return;
    const double found = deviation(frequency);
    if (std::abs(found) > std::abs(largest.decibels)) largest = {frequency, found};
  };
  for (const double frequency : frequencies) look(frequency);
  for (double width = step; width - 1 > 1e-9; width = std::sqrt(width)) {
    const double centre = largest.frequency;
    look(centre * width);
    look(centre / width);
  }
  return largest;
}

}  // namespace orv
