// What firmware checks of a parameter block: its size, the range of every field, zeros between the
// fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "simulated/drivers/coefficient_set.h"

namespace orv {

// A little-endian number in a block; read as signed when `least` is negative.
struct FieldFormat {
  std::uint16_t offset;
  std::uint8_t width;  // bytes: 1, 2 or 4
  std::int64_t least;
  std::int64_t most;
  std::int64_t initial;  // what a fresh module holds
};

constexpr FieldFormat Flag(std::uint16_t offset, int initial = 0) {
  return {offset, 4, 0, 1, initial};
}
// A gain or level of 16 bits that is never negative.
constexpr FieldFormat Level(std::uint16_t offset, int initial = 0) {
  return {offset, 2, 0, 0x7FFF, initial};
}
constexpr FieldFormat Word(std::uint16_t offset, std::int64_t least, std::int64_t most,
                           std::int64_t initial) {
  return {offset, 4, least, most, initial};
}
constexpr FieldFormat Fixed(std::uint16_t offset, std::uint32_t value) {
  return {offset, 4, value, value, value};
}
// A signed word of any value: a filter coefficient.
constexpr FieldFormat Coefficient(std::uint16_t offset) {
  return {offset, 4, INT32_MIN, INT32_MAX, 0};
}

// Checks a block of its own layout; gives what is wrong, or empty text.
using BlockCheck = std::string (*)(std::span<const std::byte> block);

struct BlockFormat {
  std::uint32_t parameter;
  std::uint32_t size;  // 0: `check` judges it
  std::vector<FieldFormat> fields;
  BlockCheck check = nullptr;
  std::vector<std::byte> initial = {};  // of blocks without fields
  SetsOfBlock sets = nullptr;           // of blocks with coefficients

  std::string Fault(std::span<const std::byte> block) const;
  std::vector<std::byte> Initial() const;

 private:
  std::string FieldFault(std::span<const std::byte> block) const;
};

// Sections of a filter of this order.
constexpr std::size_t SectionsOf(std::uint32_t order) { return (std::size_t{order} + 1) / 2; }

// Consecutive words from `offset` on.
std::vector<FieldFormat> Coefficients(std::uint16_t offset, std::uint16_t count,
                                      std::vector<FieldFormat> before = {});

const BlockFormat* FindFormat(const std::vector<BlockFormat>& formats, std::uint32_t parameter);

// The parameters of each driver, in the order of their identifiers.
const std::vector<BlockFormat>& SkylakeFormats();
const std::vector<BlockFormat>& BroadwellFormats();
const std::vector<BlockFormat>& QualcommFormats();

std::string HexNumber(std::uint32_t number);  // "0x1001440D"
// As their drivers write them: "21", "0x1001440D".
std::string ParameterText(std::uint32_t parameter);

}  // namespace orv
