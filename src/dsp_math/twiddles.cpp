#include "dsp_math/twiddles.h"

namespace orv {
namespace {

constexpr long double kPi = 3.141592653589793238462643383279502884L;

// Sine and cosine of an angle in 0..pi/4 by their power series, exact far beyond single precision.
constexpr long double SineSeries(long double x) {
  long double term = x;
  long double sum = x;
  for (int n = 1; n < 12; ++n) sum += term *= -x * x / ((2 * n) * (2 * n + 1));
  return sum;
}
constexpr long double CosineSeries(long double x) {
  long double term = 1;
  long double sum = 1;
  for (int n = 1; n < 12; ++n) sum += term *= -x * x / ((2 * n - 1) * (2 * n));
  return sum;
}
// Of 2 pi j / length for j <= length/2.
constexpr long double Cosine(std::size_t j, std::size_t length) {
  if (4 * j > length) return -Cosine(length / 2 - j, length);
  return 8 * j <= length ? CosineSeries(2 * kPi * j / length)
                         : SineSeries(2 * kPi * (length - 4 * j) / (4 * length));
}
constexpr long double Sine(std::size_t j, std::size_t length) {
  return Cosine(4 * j > length ? j - length / 4 : length / 4 - j, length);
}

constexpr TwiddleTable MakeTwiddles() {
  TwiddleTable table{};
  for (unsigned length = 16; length <= 4096; length *= 2) {
    for (unsigned j = 1; j < length / 4; ++j) {
      table.cosine[TwiddleIndex(length, j)] = static_cast<float>(Cosine(j, length));
      table.sine[TwiddleIndex(length, j)] = static_cast<float>(Sine(j, length));
    }
    for (unsigned j = 1; j <= length / 8; ++j) {
      table.third_cosine[ThirdTwiddleIndex(length, j)] = static_cast<float>(Cosine(3 * j, length));
      table.third_sine[ThirdTwiddleIndex(length, j)] = static_cast<float>(Sine(3 * j, length));
    }
  }
  return table;
}

}  // namespace

constexpr TwiddleTable kTwiddles = MakeTwiddles();

}  // namespace orv
