#include "simulated/drivers/coefficient_set.h"

#include <cmath>

#include "simulated/drivers/wire_bytes.h"

namespace orv {
namespace {

constexpr std::size_t kSectionWords = 6;

std::int32_t WordOf(const CoefficientSet& set, std::span<const std::byte> block,
                    std::size_t number) {
  const std::size_t offset = set.offset + set.width * number;
  return set.width == 2 ? std::int32_t{ReadWire<std::int16_t>(block, offset)}
                        : ReadWire<std::int32_t>(block, offset);
}

// Whether the poles, the roots of z^2 - a1 z - a2, lie within the unit circle; `one` is the word of
// 1.0.
bool Decays(std::int64_t a1, std::int64_t a2, double one) {
  const auto first = static_cast<double>(a1);
  const auto second = static_cast<double>(a2);
  return std::fabs(second) < one && std::fabs(first) < one - second;
}

}  // namespace

std::vector<CoefficientSet> BassAllPass(std::span<const std::byte>) {
  return {{"bass all-pass", 64, 4, 1}};
}
std::vector<CoefficientSet> SpaceHighPass(std::span<const std::byte>) {
  return {{"space high-pass", 0, 4, 1}};
}

std::string ShiftFault(const CoefficientSet& set, std::span<const std::byte> block) {
  const std::int32_t most = set.width == 2 ? 16 : 31;
  for (std::size_t i = 0; i <= set.sections; ++i) {
    const std::int32_t shift = WordOf(set, block, kSectionWords * i);
    if (shift >= 0 && shift <= most) continue;
    return "offset " + std::to_string(set.offset + set.width * kSectionWords * i) +
           ": a shift of " + std::to_string(shift) + " is outside 0 to " + std::to_string(most);
  }
  return {};
}

std::string PlayingFault(const CoefficientSet& set, std::span<const std::byte> block) {
  const auto word = [&](std::size_t number) { return WordOf(set, block, number); };
  const int bits = static_cast<int>(8 * set.width);
  for (std::size_t i = 0; i < set.sections; ++i) {
    const std::size_t at = kSectionWords * i;
    const std::string section = std::string(set.name) + ": section " + std::to_string(i + 1);
    if (!Decays(word(at + 4), word(at + 5), std::ldexp(1, bits - word(at))))
      return section + " is unstable";
    if (word(at + 1) == 0 && word(at + 2) == 0 && word(at + 3) == 0) return section + " is silent";
  }
  const bool silent = word(kSectionWords * set.sections + 1) == 0;
  return silent ? std::string(set.name) + ": the overall gain is 0" : "";
}

std::string ResonatorFault(std::size_t offset, std::span<const std::byte> block) {
  const auto word = [&](std::size_t number) {
    return ReadWire<std::int32_t>(block, offset + 4 * number);
  };
  for (const std::size_t size : {0, 8}) {
    const std::string name = size == 0 ? "bass of the audio size" : "bass of the analysis size";
    if (word(size) == 0 || word(size + 2) == 0 || word(size + 5) == 0) return name + " is silent";
    for (const std::size_t resonator : {size + 3, size + 6}) {
      if (!Decays(word(resonator), word(resonator + 1), 1 << 30)) return name + " is unstable";
    }
  }
  return {};
}

}  // namespace orv
