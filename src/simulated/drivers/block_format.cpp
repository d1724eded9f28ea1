#include "simulated/drivers/block_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orv {
namespace {

constexpr std::size_t kSectionWords = 6;

std::int64_t ReadField(const FieldFormat& field, std::span<const std::byte> block) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, block.data() + field.offset, field.width);
  if (field.least >= 0) return bits;
  return field.width == 2 ? std::int64_t{static_cast<std::int16_t>(bits)}
                          : std::int64_t{static_cast<std::int32_t>(bits)};
}

std::int32_t WordOf(const CoefficientSet& set, std::span<const std::byte> block,
                    std::size_t number) {
  const std::size_t offset = set.offset + set.width * number;
  return set.width == 2 ? std::int32_t{ReadWire<std::int16_t>(block, offset)}
                        : ReadWire<std::int32_t>(block, offset);
}

// Returns which shift is outside 0 to 31, or 0 to 16 of 16-bit words; empty text if none is.
std::string ShiftFault(const CoefficientSet& set, std::span<const std::byte> block) {
  const std::int32_t most = set.width == 2 ? 16 : 31;
  for (std::size_t i = 0; i <= set.sections; ++i) {
    const std::int32_t shift = WordOf(set, block, kSectionWords * i);
    if (shift >= 0 && shift <= most) continue;
    return fmt::format("offset {}: a shift of {} is outside 0 to {}",
                       set.offset + set.width * kSectionWords * i, shift, most);
  }
  return {};
}

// Whether the poles, the roots of z^2 - a1 z - a2, are within the unit circle; `one` is the word of
// 1.0.
bool Decays(std::int64_t a1, std::int64_t a2, double one) {
  const auto first = static_cast<double>(a1);
  const auto second = static_cast<double>(a2);
  return std::fabs(second) < one && std::fabs(first) < one - second;
}

}  // namespace

void AppendText(std::vector<std::byte>& bytes, const std::string& text) {
  constexpr std::size_t kFieldSize = 64;
  const std::size_t end = bytes.size() + kFieldSize;
  for (const char letter : text.substr(0, kFieldSize - 1))
    bytes.push_back(static_cast<std::byte>(letter));
  bytes.resize(end);
}

std::size_t FirstNonZero(std::span<const std::byte> bytes, std::size_t begin) {
  while (begin < bytes.size() && bytes[begin] == std::byte{0}) ++begin;
  return begin;
}

std::string SizeFault(std::size_t size, std::size_t expected) {
  return size == expected ? "" : fmt::format("{} bytes instead of {}", size, expected);
}

std::string ParameterText(std::uint32_t parameter) {
  return parameter < 0x10000 ? std::to_string(parameter) : fmt::format("0x{:X}", parameter);
}

std::vector<CoefficientSet> BassAllPass(std::span<const std::byte>) {
  return {{"bass all-pass", 64, 4, 1}};
}
std::vector<CoefficientSet> SpaceHighPass(std::span<const std::byte>) {
  return {{"space high-pass", 0, 4, 1}};
}

std::string PlayingFault(const CoefficientSet& set, std::span<const std::byte> block) {
  const auto word = [&](std::size_t number) { return WordOf(set, block, number); };
  const int bits = static_cast<int>(8 * set.width);
  for (std::size_t i = 0; i < set.sections; ++i) {
    const std::size_t at = kSectionWords * i;
    const char* fault = nullptr;
    if (!Decays(word(at + 4), word(at + 5), std::ldexp(1, bits - word(at))))
      fault = "unstable";
    else if (word(at + 1) == 0 && word(at + 2) == 0 && word(at + 3) == 0)
      fault = "silent";
    if (fault != nullptr) return fmt::format("{}: section {} is {}", set.name, i + 1, fault);
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

std::string BlockFormat::Fault(std::span<const std::byte> block) const {
  std::string fault = size == 0 ? "" : SizeFault(block.size(), size);
  if (!fault.empty()) return "a block of " + fault;
  if (!fields.empty()) fault = FieldFault(block);
  if (fault.empty() && check != nullptr) fault = check(block);
  if (!fault.empty() || sets == nullptr) return fault;
  for (const CoefficientSet& set : sets(block)) {
    fault = ShiftFault(set, block);
    if (!fault.empty()) break;
  }
  return fault;
}

std::string BlockFormat::FieldFault(std::span<const std::byte> block) const {
  std::vector<std::byte> reserved(block.begin(), block.end());
  for (const FieldFormat& field : fields) {
    const std::int64_t value = ReadField(field, block);
    if (value < field.least || value > field.most) {
      return fmt::format("offset {}: {} is outside {} to {}", field.offset, value, field.least,
                         field.most);
    }
    std::fill_n(reserved.begin() + field.offset, field.width, std::byte{0});
  }
  const std::size_t wrong = FirstNonZero(reserved);
  return wrong == block.size() ? "" : fmt::format("offset {}: a reserved byte is not zero", wrong);
}

std::vector<std::byte> BlockFormat::Initial() const {
  if (!initial.empty()) return initial;
  std::vector<std::byte> block(size);
  for (const FieldFormat& field : fields)
    std::memcpy(block.data() + field.offset, &field.initial, field.width);
  return block;
}

std::vector<FieldFormat> Coefficients(std::uint16_t offset, std::uint16_t count,
                                      std::vector<FieldFormat> before) {
  for (std::uint16_t i = 0; i < count; ++i)
    before.push_back(Word(static_cast<std::uint16_t>(offset + 4 * i), INT32_MIN, INT32_MAX, 0));
  return before;
}

const BlockFormat* FindFormat(const std::vector<BlockFormat>& formats, std::uint32_t parameter) {
  const auto found = std::ranges::find(formats, parameter, &BlockFormat::parameter);
  return found == formats.end() ? nullptr : &*found;
}

}  // namespace orv
