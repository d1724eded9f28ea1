// The constants of the transform's stages.
#pragma once

#include <array>
#include <cstddef>

namespace orv {

inline constexpr std::size_t kTwiddleCount = 2035;

// cos and -sin of 2 pi j / L for j = 1 .. L/4-1, one run for each stage L = 16, 32, .. 4096, one
// after another. They are kept halved: every stage halves, and half the twiddle does it for free.
struct TwiddleTable {
  std::array<float, kTwiddleCount> half_cosine;
  std::array<float, kTwiddleCount> half_negative_sine;
};
extern const TwiddleTable kTwiddles;

// Position of j = 1 in the run of stage L.
constexpr std::size_t TwiddleStart(std::size_t stage) noexcept {
  std::size_t start = 0;
  for (std::size_t length = 16; length < stage; length *= 2) start += length / 4 - 1;
  return start;
}
static_assert(TwiddleStart(8192) == kTwiddleCount);

}  // namespace orv
