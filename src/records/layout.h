// Layout of driver records: their fields as rows of a table, read and stored little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

namespace orv {

enum class FieldType : std::uint8_t { U8, I16, U16, I32, U32 };

constexpr std::size_t FieldWidth(FieldType type) noexcept {
  switch (type) {
    case FieldType::U8:
      return 1;
    case FieldType::I16:
    case FieldType::U16:
      return 2;
    default:
      return 4;
  }
}

// True if the rows, in their order, cover a record of `size` bytes without gap and overlap, each
// on a multiple of its width. A row has the members `offset`, `type` and `count` (elements, 1 for a
// single number); reserved bytes are rows too.
template <class Row, std::size_t N>
constexpr bool TilesRecord(const Row (&rows)[N], std::size_t size) noexcept {
  std::size_t next = 0;
  for (const Row& row : rows) {
    const std::size_t width = FieldWidth(row.type);
    if (row.offset != next || row.offset % width != 0) return false;
    next += width * row.count;
  }
  return next == size;
}

// Reads or stores one number of a record; the number must lie inside.
inline std::int64_t ReadField(std::span<const std::byte> record, std::size_t offset,
                              FieldType type) noexcept {
  std::uint32_t bits = 0;
  const std::size_t width = FieldWidth(type);
  for (std::size_t i = 0; i < width; ++i)
    bits |= std::to_integer<std::uint32_t>(record[offset + i]) << (8 * i);
  if (type == FieldType::I16) return static_cast<std::int16_t>(bits);
  if (type == FieldType::I32) return static_cast<std::int32_t>(bits);
  return bits;
}
inline void StoreField(std::span<std::byte> record, std::size_t offset, FieldType type,
                       std::int64_t value) noexcept {
  const std::size_t width = FieldWidth(type);
  for (std::size_t i = 0; i < width; ++i)
    record[offset + i] = static_cast<std::byte>((value >> (8 * i)) & 0xFF);
}

// One number of a record as text.
struct DecodedField {
  std::size_t offset = 0;
  std::string control;     // the control's name, or what the field is; "reserved"
  std::int64_t value = 0;  // the number in the record
  std::string text;        // in the control's own unit: "-6.0 dB", "50 %", "on", "custom"
};

}  // namespace orv
