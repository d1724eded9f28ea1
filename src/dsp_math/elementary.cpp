#include "dsp_math/elementary.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace orv {
namespace {

constexpr double kHalfPi = kPi / 2;
// pi/2 and ln 2 in pieces: the leading ones are so short that their products with the whole numbers
// met here are exact.
constexpr double kHalfPiHigh = 0x1.921fb548p+0;
constexpr double kHalfPiMiddle = -0x1.de973dc8p-31;
constexpr double kHalfPiLow = -0x1.9d9cceba3f91fp-62;
constexpr double kLn2High = 0x1.62e42ffp-1;
constexpr double kLn2Low = -0x1.718432a1b0e26p-35;
constexpr double kLnDecibelHigh = 0x1.d791c6p-4;  // ln 10 / 20
constexpr double kLnDecibelLow = -0x1.dddf765411542p-34;

constexpr double kLargestAngle = 1e6;
constexpr double kLargestExponent = 709.0;

// 1/first!, -1/(first+2)!, 1/(first+4)!, ...: the series of sine (from 1) and cosine (from 0).
template <std::size_t kTerms>
constexpr std::array<double, kTerms> AlternatingSeries(int first) {
  std::array<double, kTerms> terms{};
  long double term = 1;
  for (std::size_t i = 0; i < kTerms; ++i) {
    terms[i] = static_cast<double>(term);
    const int next = first + 2 * static_cast<int>(i);
    term /= -static_cast<long double>((next + 1) * (next + 2));
  }
  return terms;
}

template <std::size_t kTerms>
double Polynomial(const std::array<double, kTerms>& terms, std::size_t from, double x) {
  double sum = terms[kTerms - 1];
  for (std::size_t i = kTerms - 1; i > from; --i) sum = sum * x + terms[i - 1];
  return sum;
}

// For |x| <= pi/4; the leading terms are added last, so that the sum is rounded once.
double SmallSine(double x, double tail) {
  static constexpr auto kTerms = AlternatingSeries<9>(1);
  const double square = x * x;
  return x + (x * square * Polynomial(kTerms, 1, square) + tail);
}
double SmallCosine(double x, double tail) {
  static constexpr auto kTerms = AlternatingSeries<10>(0);
  const double square = x * x;
  const double half = 0.5 * square;
  const double leading = 1 - half;
  return leading +
         (((1 - leading) - half) + (square * square * Polynomial(kTerms, 2, square) - x * tail));
}

struct Reduced {
  double angle;  // within pi/4 of zero
  double tail;   // what `angle` leaves out
  unsigned quadrant;
};

Reduced Reduce(double angle) {
  if (!(std::fabs(angle) <= kLargestAngle)) angle = std::fmod(angle, 2 * kPi);
  if (std::isnan(angle)) return {angle, 0, 0};
  const double turns = std::floor(angle / kHalfPi + 0.5);
  const double near = (angle - turns * kHalfPiHigh) - turns * kHalfPiMiddle;
  const double rest = turns * kHalfPiLow;
  const double reduced = near - rest;
  return {reduced, (near - reduced) - rest,
          static_cast<unsigned>(static_cast<long long>(turns)) & 3U};
}

double SineOfQuadrant(const Reduced& reduced, unsigned quadrant) {
  const double value = (quadrant & 1U) != 0 ? SmallCosine(reduced.angle, reduced.tail)
                                            : SmallSine(reduced.angle, reduced.tail);
  return (quadrant & 2U) != 0 ? -value : value;
}

// 2^power e^small, `small` within ln 2 of zero.
double ScaledExponential(double small, double power) {
  double sum = 1;
  for (int i = 20; i > 1; --i) sum = 1 + sum * small / i;
  return std::ldexp(1 + small * sum, static_cast<int>(power));
}

}  // namespace

double Sine(double angle) {
  const Reduced reduced = Reduce(angle);
  return SineOfQuadrant(reduced, reduced.quadrant);
}

double Cosine(double angle) {
  const Reduced reduced = Reduce(angle);
  return SineOfQuadrant(reduced, reduced.quadrant + 1);
}

double Tangent(double angle) {
  const Reduced reduced = Reduce(angle);
  return SineOfQuadrant(reduced, reduced.quadrant) / SineOfQuadrant(reduced, reduced.quadrant + 1);
}

double Exponential(double exponent) {
  if (std::isnan(exponent)) return exponent;
  if (exponent > kLargestExponent) return HUGE_VAL;
  if (exponent < -kLargestExponent) return 0;
  const double power = std::floor(exponent / (kLn2High + kLn2Low) + 0.5);
  return ScaledExponential((exponent - power * kLn2High) - power * kLn2Low, power);
}

double DecibelsToGain(double decibels) {
  const double exponent = decibels * (kLnDecibelHigh + kLnDecibelLow);
  if (!(std::fabs(exponent) <= kLargestExponent)) return Exponential(exponent);
  const double power = std::floor(exponent / (kLn2High + kLn2Low) + 0.5);
  return ScaledExponential(
      (decibels * kLnDecibelHigh - power * kLn2High) + (decibels * kLnDecibelLow - power * kLn2Low),
      power);
}

}  // namespace orv
