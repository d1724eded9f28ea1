// What every fuzzer uses: its entry, a way to fail, its bytes in pieces.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

namespace orv::fuzz {

// Each fuzzer defines this; it is called once for each input.
void Run(std::span<const std::uint8_t> bytes);

inline void Require(bool condition) {
  if (!condition) std::abort();
}

inline std::string_view TextOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Reads bytes from the front; zeros after the end.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
  bool empty() const noexcept { return bytes_.empty(); }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Number(1)); }
  std::uint32_t Number(std::size_t bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
      const auto next = Take(1);
      number = number << 8 | (next.empty() ? 0U : next[0]);
    }
    return number;
  }
  std::span<const std::uint8_t> Take(std::size_t count) {
    const auto taken = bytes_.first(std::min(count, bytes_.size()));
    bytes_ = bytes_.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace orv::fuzz
