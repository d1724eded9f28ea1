// Parameter records of the Qualcomm driver.
#include <fmt/format.h>

#include "simulated/drivers/block_format.h"

namespace orv {
namespace {

constexpr FieldFormat Gain(std::uint16_t offset) { return {offset, 2, -32768, 32767, 0}; }
constexpr std::uint16_t kBassWords = 16;
constexpr std::uint16_t kFilterWords = 26;
constexpr std::uint32_t kHighestOrder = 8;

std::string WideningFault(std::span<const std::byte> record) {
  return (ReadWire<std::uint32_t>(record, 0) & 0x80) == 0 ? "offset 0: option bit 0x80 is clear"
                                                          : "";
}

std::string RecordEqualiserFault(std::span<const std::byte> record) {
  return (ReadWire<std::uint32_t>(record, 0) & 0xF) != 3 ? "offset 0: the lowest bits are not 3"
                                                         : "";
}

// Orders beyond the record's room have no sections.
CoefficientSet HighPassSet(std::span<const std::byte> record) {
  const auto order = ReadWire<std::uint32_t>(record, 0);
  return {"high-pass", 4, 4, order <= kHighestOrder ? SectionsOf(order) : 0};
}
std::vector<CoefficientSet> RecordHighPassSets(std::span<const std::byte> record) {
  return {HighPassSet(record)};
}
std::string RecordHighPassFault(std::span<const std::byte> record) {
  const CoefficientSet set = HighPassSet(record);
  const std::size_t extra = FirstNonZero(record, set.offset + set.size());
  if (extra == record.size()) return {};
  return fmt::format("offset {}: more coefficients than an order of {} has", extra,
                     ReadWire<std::uint32_t>(record, 0));
}

std::vector<CoefficientSet> RecordEqualiserSets(std::span<const std::byte>) {
  return {{"left equaliser", 12, 4, 4}, {"right equaliser", 116, 4, 4}};
}

}  // namespace

const std::vector<BlockFormat>& QualcommFormats() {
  static const std::vector<BlockFormat> kFormats = {
      {0x10005011, 8, {{0, 1, 0, 0x3F, 0}}},
      // Option bits 0x01 to 0x80, of which the last is always set, and one of four 3D modes.
      {0x10005012, 92,
       Coefficients(28, kBassWords,
                    {Word(0, 0x180, 0x4FF, 0x180), Gain(4), Gain(6), Gain(8), Gain(10), Gain(12),
                     Gain(14), Gain(16), Fixed(20, 0x40000000), Gain(24), Gain(26)}),
       WideningFault},
      {0x10005013, 88,
       Coefficients(24, kBassWords,
                    {Word(0, 0, 0xFF, 0), Gain(4), Gain(6), Gain(8), Gain(10), Gain(12),
                     Fixed(16, 0x10000000), Gain(20), Gain(22)})},
      {0x10005014, 108, {}, RecordHighPassFault, {}, RecordHighPassSets},
      {0x10005015,
       220,
       Coefficients(12, 2 * kFilterWords,
                    {Word(0, 3, 0xFF3, 3), Fixed(4, 0x10001000), Fixed(8, 0x1000)}),
       RecordEqualiserFault,
       {},
       RecordEqualiserSets},
      {0x10005016,
       24,
       {Gain(0),
        Gain(2),
        Gain(4),
        Fixed(8, 22),
        {12, 4, INT32_MIN, INT32_MAX, 0},
        Gain(16),
        Fixed(20, 1)}},
  };
  return kFormats;
}

}  // namespace orv
