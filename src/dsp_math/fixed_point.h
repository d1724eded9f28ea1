// Real numbers as fixed-point words of a signal processor.
#pragma once

#include <cstdint>

namespace orv {

// value * 2^(W - integer_bits), W the width of the word, computed in double precision, rounded half
// away from zero and saturated. `integer_bits` counts the sign: 1 is Q1.15 and Q1.31. Not a number
// gives 0.
constexpr std::int64_t ToFixed(double value, int width, int integer_bits) noexcept {
  double scaled = value;
  for (int bit = integer_bits; bit < width; ++bit) scaled *= 2;
  for (int bit = width; bit < integer_bits; ++bit) scaled /= 2;
  const auto limit = static_cast<double>(std::int64_t{1} << (width - 1));
  scaled += scaled >= 0 ? 0.5 : -0.5;
  if (scaled >= limit) return (std::int64_t{1} << (width - 1)) - 1;
  if (scaled <= -limit) return -(std::int64_t{1} << (width - 1));
  return scaled == scaled ? static_cast<std::int64_t>(scaled) : 0;
}
constexpr std::int16_t ToFixed16(double value, int integer_bits) noexcept {
  return static_cast<std::int16_t>(ToFixed(value, 16, integer_bits));
}
constexpr std::int32_t ToFixed32(double value, int integer_bits) noexcept {
  return static_cast<std::int32_t>(ToFixed(value, 32, integer_bits));
}

}  // namespace orv
