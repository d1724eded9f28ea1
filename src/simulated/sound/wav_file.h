// Wave files: integer samples of 16, 24 or 32 bits and 32-bit floats, plain or extensible.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

struct WavSound {
  std::uint32_t rate = 0;  // Hz
  std::uint32_t channels = 0;
  std::vector<float> samples;  // interleaved; full scale is 1

  std::size_t frames() const noexcept { return samples.size() / channels; }
};

// Nothing, with the reason for people, when the bytes are no such file, are cut short or have
// samples that are no numbers.
std::optional<WavSound> ReadWav(std::string_view bytes, std::string& reason);

}  // namespace orv
