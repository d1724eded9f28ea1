// Parameters of the Broadwell driver.
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "simulated/drivers/block_format.h"

namespace orv {
namespace {

// Channel masks that the module's input takes.
constexpr std::array<std::uint32_t, 21> kInputModes = {
    1, 3, 7, 11, 15, 51, 55, 59, 63, 67, 71, 75, 79, 115, 119, 123, 127, 259, 515, 1087, 2111};

std::string ChannelMaskFault(std::span<const std::byte> block) {
  const auto mask = ReadWire<std::uint32_t>(block, 4);
  if (std::ranges::find(kInputModes, mask) != kInputModes.end()) return {};
  return fmt::format("offset 4: no input has the channel mask {}", mask);
}

// Sections of the longest ready-made high-pass, which may come with a lower order.
constexpr std::size_t kReadyMadeSections = 3;

// Order, sections of six 16-bit words, shift and gain, two zero bytes.
std::string HighPassFault(std::span<const std::byte> block) {
  const std::size_t sections = block.size() < 22 ? 0 : (block.size() - 10) / 12;
  if (sections == 0 || block.size() != 12 * sections + 10)
    return fmt::format("a block of {} bytes holds no whole sections", block.size());
  const auto order = ReadWire<std::uint32_t>(block, 0);
  if (order == 0 || SectionsOf(order) > sections ||
      (SectionsOf(order) < sections && sections > kReadyMadeSections))
    return fmt::format("an order of {} in {} sections", order, sections);
  if (ReadWire<std::uint16_t>(block, block.size() - 2) != 0)
    return "bytes after the coefficients are not zero";
  return {};
}

// Sections, then six 32-bit words for each, shift and gain.
std::string EqualiserFault(std::span<const std::byte> block) {
  const std::size_t sections = ReadWire<std::uint32_t>(block, 0);
  if (block.size() >= 12 && block.size() == 12 + 24 * sections) return {};
  return fmt::format("a block of {} bytes for {} sections", block.size(), sections);
}

std::vector<CoefficientSet> HighPassSets(std::span<const std::byte> block) {
  return {{"high-pass", 4, 2, SectionsOf(ReadWire<std::uint32_t>(block, 0))}};
}
std::vector<CoefficientSet> EqualiserSets(std::span<const std::byte> block) {
  return {{"equaliser", 4, 4, ReadWire<std::uint32_t>(block, 0)}};
}

template <class Value, std::size_t Count>
std::vector<std::byte> Words(std::uint32_t first, const std::array<Value, Count>& words) {
  std::vector<std::byte> bytes;
  AppendWire(bytes, first);
  AppendWire(bytes, words);
  return bytes;
}

// A fourth-order high-pass at a low frequency and its two closing bytes.
constexpr std::array<std::int16_t, 15> kHighPass = {
    2, 5393, -10786, 5393, 32669, -16286, 2, 15463, -30926, 15463, 32531, -16148, 3, 26101, 0};
constexpr std::int32_t kUnity = 1 << 30;
constexpr std::array<std::int32_t, 14> kFlatEqualiser = {2,      kUnity, 0, 0, 0, 0, 2,
                                                         kUnity, 0,      0, 0, 0, 2, kUnity};

FieldFormat Gain() { return Level(0, 32767); }

}  // namespace

const std::vector<BlockFormat>& BroadwellFormats() {
  static const std::vector<BlockFormat> kFormats = {
      {0, 4, {Flag(0, 1)}},
      {1, 2, {Gain()}},
      {2, 2, {Gain()}},
      {3, 2, {Gain()}},
      {4, 2, {Gain()}},
      {5, 4, {Flag(0)}},
      {6, 4, {Flag(0)}},
      {20, 12, {Flag(0), Level(4, 3277), Word(8, 0, INT32_MAX, 0x40000000)}},
      {21,
       92,
       {Flag(0),           Word(4, 1, 2111, 3),
        Flag(8),           Level(12),
        Flag(16),          Word(20, 0, 9, 2),
        Flag(24),          Level(28),
        Level(30),         Level(32),
        Flag(36),          Flag(40),
        Word(44, 0, 2, 2), Flag(48),
        Level(52),         Word(56, 0, 9, 4),
        Word(60, 0, 9, 4), Flag(64),
        Word(68, 0, 2, 1), Level(72),
        Flag(76),          Level(80),
        Flag(84),          Level(88)},
       ChannelMaskFault},
      {22,
       16,
       {Flag(0, 1), Word(4, 0, INT32_MAX, 120), Word(8, 0, INT32_MAX, 0x4000000), Level(12, 8192)}},
      {24, 0, {}, HighPassFault, Words(4, kHighPass), HighPassSets},
      {25, 0, {}, EqualiserFault, Words(2, kFlatEqualiser), EqualiserSets},
      {26, 0, {}, EqualiserFault, Words(2, kFlatEqualiser), EqualiserSets},
      {100, 96, Coefficients(0, 24), nullptr, {}, BassAllPass},
      {101, 32, Coefficients(0, 8), nullptr, {}, SpaceHighPass},
  };
  return kFormats;
}

}  // namespace orv
