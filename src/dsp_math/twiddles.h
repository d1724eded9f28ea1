// The constants of the transform's stages.
#pragma once

#include <array>
#include <cstddef>

namespace orv {

// One run for each stage L = 16, 32, .. 4096.
struct TwiddleTable {
  // Of 2 pi j / L for j = 1 .. L/4-1, from index L/4.
  alignas(64) std::array<float, 2048> cosine;
  alignas(64) std::array<float, 2048> sine;
  // Of 2 pi 3j / L for j = 1 .. L/8, from index L/8.
  alignas(64) std::array<float, 1024> third_cosine;
  alignas(64) std::array<float, 1024> third_sine;
};
extern const TwiddleTable kTwiddles;

constexpr unsigned TwiddleIndex(unsigned length, unsigned j) noexcept { return length / 4 + j - 1; }
constexpr unsigned ThirdTwiddleIndex(unsigned length, unsigned j) noexcept {
  return length / 8 + j - 1;
}

}  // namespace orv
