#include "simulated/drivers/block_format.h"

#include <algorithm>
#include <cstdio>

#include "simulated/drivers/wire_bytes.h"

namespace orv {
namespace {

std::int64_t ReadField(const FieldFormat& field, std::span<const std::byte> block) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, block.data() + field.offset, field.width);
  if (field.least >= 0) return bits;
  return field.width == 2 ? std::int64_t{static_cast<std::int16_t>(bits)}
                          : std::int64_t{static_cast<std::int32_t>(bits)};
}

}  // namespace

std::string HexNumber(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(number));
  return text;
}

std::string ParameterText(std::uint32_t parameter) {
  return parameter < 0x10000 ? std::to_string(parameter) : HexNumber(parameter);
}

std::string BlockFormat::Fault(std::span<const std::byte> block) const {
  if (size != 0 && block.size() != size) {
    return "a block of " + std::to_string(block.size()) + " bytes instead of " +
           std::to_string(size);
  }
  std::string fault = check != nullptr ? check(block) : FieldFault(block);
  if (!fault.empty() || sets == nullptr) return fault;
  for (const CoefficientSet& set : sets(block)) {
    fault = ShiftFault(set, block);
    if (!fault.empty()) break;
  }
  return fault;
}

std::string BlockFormat::FieldFault(std::span<const std::byte> block) const {
  std::vector<bool> covered(block.size());
  for (const FieldFormat& field : fields) {
    const std::int64_t value = ReadField(field, block);
    if (value < field.least || value > field.most) {
      return "offset " + std::to_string(field.offset) + ": " + std::to_string(value) +
             " is outside " + std::to_string(field.least) + " to " + std::to_string(field.most);
    }
    std::fill_n(covered.begin() + field.offset, field.width, true);
  }
  for (std::size_t i = 0; i < block.size(); ++i) {
    if (!covered[i] && block[i] != std::byte{0})
      return "offset " + std::to_string(i) + ": a reserved byte is not zero";
  }
  return {};
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
    before.push_back(Coefficient(static_cast<std::uint16_t>(offset + 4 * i)));
  return before;
}

const BlockFormat* FindFormat(const std::vector<BlockFormat>& formats, std::uint32_t parameter) {
  const auto found = std::find_if(formats.begin(), formats.end(), [&](const BlockFormat& format) {
    return format.parameter == parameter;
  });
  return found == formats.end() ? nullptr : &*found;
}

}  // namespace orv
