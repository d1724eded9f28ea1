// Parameter blocks of the Skylake post-processing module.
#include <fmt/format.h>

#include "simulated/drivers/block_format.h"

namespace orv {
namespace {

constexpr std::uint32_t kNoFir = 0xFFFFFFFF;
constexpr std::uint32_t kLongestFir = 256;
constexpr std::uint32_t kHighestIir = 24;

// Words of a coefficient set: six a section, then shift and gain.
std::size_t SetWords(std::uint32_t order) { return SectionsOf(order) * 6 + 2; }

// The equaliser's three header words; adds its coefficient words.
std::string EqualiserFault(std::span<const std::byte> block, std::size_t header,
                           std::size_t& words) {
  const auto present = ReadWire<std::uint32_t>(block, header);
  const auto order = ReadWire<std::uint32_t>(block, header + 4);
  const auto fir = ReadWire<std::uint32_t>(block, header + 8);
  if (present > 1) return "the equaliser is neither present nor absent";
  if (present == 0)
    return order == 0 && fir == 0 ? "" : "an absent equaliser has an order or a length";
  if (order > kHighestIir) return fmt::format("an equaliser of order {}", order);
  if (fir == 0 || (fir != kNoFir && fir > kLongestFir))
    return fmt::format("a filter of {} taps", fir);
  words += SetWords(order) + (fir == kNoFir ? 0 : fir + 4);
  return {};
}

// `frame` bytes surround the coefficients: the header before them and zeros after them.
std::string FrameFault(std::span<const std::byte> block, std::size_t frame, std::size_t header,
                       std::size_t words) {
  const std::string fault = SizeFault(block.size(), frame + 4 * words);
  if (!fault.empty()) return "a block of " + fault;
  return FirstNonZero(block, header + 4 * words) == block.size()
             ? ""
             : "bytes after the coefficients are not zero";
}

constexpr std::size_t kLeftFrame = 64;
constexpr std::size_t kLeftHeader = 24;
constexpr std::size_t kRightFrame = 36;
constexpr std::size_t kRightHeader = 12;

std::string LeftFault(std::span<const std::byte> block) {
  if (block.size() < kLeftFrame) return "a block that ends within its header";
  const auto present = ReadWire<std::uint32_t>(block, 0);
  const auto order = ReadWire<std::uint32_t>(block, 4);
  const auto one = ReadWire<std::uint32_t>(block, 8);
  if (present > 1) return "the high-pass is neither present nor absent";
  if (present == 0 && order != 0) return "an absent high-pass has an order";
  if (present == 1 && order == 0) return "a high-pass without an order";
  if (order == 1 || order > 10) return fmt::format("a high-pass of order {}", order);
  if (one > 1 || (order != 0 && one != 1)) return "offset 8: the third word is not 1";
  std::size_t words = order == 0 ? 0 : SetWords(order);
  std::string fault = EqualiserFault(block, 12, words);
  return fault.empty() ? FrameFault(block, kLeftFrame, kLeftHeader, words) : fault;
}

std::string RightFault(std::span<const std::byte> block) {
  if (block.size() < kRightFrame) return "a block that ends within its header";
  std::size_t words = 0;
  std::string fault = EqualiserFault(block, 0, words);
  return fault.empty() ? FrameFault(block, kRightFrame, kRightHeader, words) : fault;
}

std::vector<CoefficientSet> LeftSets(std::span<const std::byte> block) {
  const auto word = [&](std::size_t offset) { return ReadWire<std::uint32_t>(block, offset); };
  std::vector<CoefficientSet> sets;
  std::size_t end = kLeftHeader;
  if (word(4) != 0) {
    sets.push_back({"high-pass", kLeftHeader, 4, SectionsOf(word(4))});
    end += sets.front().size();
  }
  if (word(12) != 0) sets.push_back({"left equaliser", end, 4, SectionsOf(word(16))});
  return sets;
}

std::vector<CoefficientSet> RightSets(std::span<const std::byte> block) {
  const auto word = [&](std::size_t offset) { return ReadWire<std::uint32_t>(block, offset); };
  if (word(0) == 0) return {};
  return {{"right equaliser", kRightHeader, 4, SectionsOf(word(4))}};
}

constexpr FieldFormat Band(std::uint16_t offset) { return {offset, 2, 725, 23060, 4096}; }

}  // namespace

const std::vector<BlockFormat>& SkylakeFormats() {
  static const std::vector<BlockFormat> kFormats = {
      {0x10014401, 16, {Flag(0, 1), Level(4, 16423), Level(6, 32767), Word(8, 0, 5, 1), Flag(12)}},
      {0x10014402, 12, {Flag(0), Level(4, 3277), Word(8, 0, INT32_MAX, 0x40000000)}},
      {0x10014403, 12, {Flag(0), Level(4, 16384), Word(8, 0x10000000, 0x60000000, 0x20000000)}},
      {0x10014404,
       40,
       {Flag(0), Level(4), Word(8, 0, 9, 4), Word(12, 0, 9, 4), Flag(16), Flag(20),
        Word(24, 0, 2, 1), Level(28), Level(30), Flag(32), Level(36)}},
      {0x10014405,
       28,
       {Flag(0), Level(4), Level(6), Level(8), Level(10), Level(12), Flag(16),
        Word(20, 0, INT32_MAX, 2), Flag(24)}},
      {0x10014406, 16, {Flag(0), Word(4, 1, INT32_MAX, 1), Flag(8), Level(12)}},
      {0x10014407, 16, {Flag(0), Band(4), Band(6), Band(8), Band(10), Band(12)}},
      {0x10014408, 12, {Flag(0), Word(4, -12, 12, 0), Word(8, -12, 12, 0)}},
      {0x10014409, 8, {Flag(0), Level(4, 32767)}},
      {0x1001440A, 16, {Flag(0), Word(4, 0, 100, 25), Word(8, -10, 10, 0), Flag(12)}},
      {0x1001440B, 20, {Flag(0, 1), Level(4, 8192), Word(8, 60, 240, 120), Flag(12), Level(16)}},
      {0x1001440C,
       24,
       {Level(2, 32767), Level(4, 32767), Level(6, 32767), Level(8, 32767), Level(10, 32767),
        Level(12, 32767), Level(14, 16423), Level(16, 32767), Level(18, 4096),
        Word(20, 0, INT32_MAX, 0x4000000)}},
      {0x1001440D, 0, {}, LeftFault, std::vector<std::byte>(kLeftFrame), LeftSets},
      {0x1001440E, 0, {}, RightFault, std::vector<std::byte>(kRightFrame), RightSets},
      {0x1001440F, 96, Coefficients(0, 24), nullptr, {}, BassAllPass},
      {0x10014410, 32, Coefficients(0, 8), nullptr, {}, SpaceHighPass},
      {0x10014411, 4, {Fixed(0, 48000)}},
  };
  return kFormats;
}

}  // namespace orv
