// Elementary functions in double precision out of nothing but IEEE additions, multiplications,
// divisions and square roots: the mathematical libraries of two systems differ in the last bit, and
// a filter's words must not. Errors stay within three units in the last place.
#pragma once

namespace orv {

inline constexpr double kPi = 3.141592653589793238462643383279502884;

// Angles in radians. Accurate up to a million; beyond that the result is only bounded.
double Sine(double angle);
double Cosine(double angle);
double Tangent(double angle);

double Exponential(double exponent);
double DecibelsToGain(double decibels);  // 10^(decibels/20)

}  // namespace orv
