// From a transform's output to the levels that clients ask for.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orv {

// At most 0; minus infinity for 0 and NaN.
inline float Decibels(float linear) noexcept {
  if (!(linear > 0)) return -std::numeric_limits<float>::infinity();
  return std::min(20 * std::log10(linear), 0.0F);
}

// Bins, numbered from 0, at multiples of a spacing: bin k at (k + 1) x spacing Hz, below half the
// sample rate. Bin k is the transform's output at index k.
class SpectrumBins {
 public:
  SpectrumBins() = default;
  explicit SpectrumBins(std::uint32_t sample_rate) noexcept
      : sample_rate_(sample_rate), spacing_(sample_rate >> 10) {
    if (spacing_ != 0) count_ = (sample_rate - 1) / (2 * spacing_);
  }

  std::uint32_t count() const noexcept { return count_; }

  // The upper of two that are equally far. There is at least one bin.
  std::uint32_t Nearest(std::uint32_t frequency) const noexcept {
    const std::uint32_t below = frequency / spacing_;  // multiples of the spacing
    if (below == 0) return 0;
    const std::uint32_t beyond = frequency % spacing_;
    const bool upper = beyond >= spacing_ - beyond;
    return std::min(upper ? below : below - 1, count_ - 1);
  }

  // |v| / sqrt(1024) x rate / 256, in single precision.
  float Magnitude(float transformed) const noexcept {
    return std::fabs(transformed) / 32 * static_cast<float>(sample_rate_) * (1.0F / 256);
  }

 private:
  std::uint32_t sample_rate_ = 0;  // Hz
  std::uint32_t spacing_ = 0;      // Hz
  std::uint32_t count_ = 0;
};

}  // namespace orv
