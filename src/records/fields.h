// Fields of driver records (Intel blocks, Qualcomm records): one row each, stored little-endian,
// range-checked and decoded to text by the same functions. The tables, and how controls become
// numbers, are in intel_dsp/ and qc_dsp/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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

// Reads or stores one number of a record; the number must be inside.
std::int64_t ReadField(std::span<const std::byte> record, std::size_t offset,
                       FieldType type) noexcept;
void StoreField(std::span<std::byte> record, std::size_t offset, FieldType type,
                std::int64_t value) noexcept;

// One number of a record as text.
struct DecodedField {
  std::size_t offset = 0;
  std::string control;     // the control's name, or what the field is; "reserved"
  std::int64_t value = 0;  // the number in the record
  std::string text;        // in the control's own unit: "-6.0 dB", "50 %", "on", "custom"
};

namespace records {

// How a field is made from controls, and how its number is written as text.
enum class Conversion : std::uint8_t {
  Reserved,
  Bool,
  Decibels,
  ProcessGain,
  Percent,
  Integer,
  LevelIntensity,
  // Choices of named values.
  SpeakerSize,
  SpaceCutoff,
  DPHDMode,
  ORV3DMode,
  InputMode,
  DecoderMode,
  // Only of the Skylake module; the levels depend on further controls or fields.
  MainTech,  // the last choice
  BandGain,
  BassLevel,
  DefinitionLevel,
  ClarityLevel,
  FocusLevel,  // takes over the clarity level
  HeadphoneClarityEnable,
  HeadphoneClarityLevel,
  SampleRate,
  // Only of the Qualcomm driver.
  Fixed,        // `low`, for all controls
  Options,      // the record's option bits
  BassFilters,  // designed words
  HighPass,
  LeftBands,
  RightBands,
};
// Whether one number makes the field, by one rule for all fields of its conversion.
constexpr bool IsSimple(Conversion conversion) noexcept {
  return conversion <= Conversion::Integer;
}
constexpr bool IsChoice(Conversion conversion) noexcept {
  return conversion >= Conversion::SpeakerSize && conversion <= Conversion::MainTech;
}

inline constexpr std::int64_t kLargest16 = 0x7FFF;
inline constexpr std::int64_t kLargest32 = 0x7FFFFFFF;

struct Field {
  std::size_t offset;
  FieldType type;
  Conversion conversion;
  const char* control;  // or what the field is
  // What the Skylake module accepts; the other drivers check their values themselves.
  std::int64_t low = std::numeric_limits<std::int64_t>::min();
  std::int64_t high = std::numeric_limits<std::int64_t>::max();
  int integer_bits = 0;            // of a fixed-point field, its sign included
  std::size_t count = 1;           // numbers of this type, one after the other
  bool alone = true;               // whether clients may change it by itself
  const char* fallback = nullptr;  // the control that replaces a missing one

  constexpr int bits() const noexcept { return static_cast<int>(8 * FieldWidth(type)); }
  std::int64_t Read(std::span<const std::byte> record) const noexcept {
    return ReadField(record, offset, type);
  }
  void Store(std::span<std::byte> record, std::int64_t value) const noexcept {
    StoreField(record, offset, type, value);
  }
};

// True if the rows, in their order, cover a record of `size` bytes without gap and overlap, each
// on a multiple of its width. Reserved bytes are rows too.
constexpr bool TilesRecord(std::span<const Field> rows, std::size_t size) noexcept {
  std::size_t next = 0;
  for (const Field& row : rows) {
    const std::size_t width = FieldWidth(row.type);
    if (row.offset != next || row.offset % width != 0) return false;
    next += width * row.count;
  }
  return next == size;
}

// The row of this control; naming one that a table lacks does not compile.
template <std::size_t N>
constexpr const Field& RowOf(const Field (&fields)[N], std::string_view control) {
  for (const Field& field : fields)
    if (field.control == control) return field;
  throw "no such row";
}

namespace rows {

constexpr Field Reserved(std::size_t offset) {
  return {offset, FieldType::U16, Conversion::Reserved, "reserved"};
}
constexpr Field Switch(std::size_t offset, const char* control,
                       Conversion conversion = Conversion::Bool) {
  return {offset, FieldType::U32, conversion, control};
}
constexpr Field Gain(std::size_t offset, const char* control, int integer_bits = 1,
                     FieldType type = FieldType::I16) {
  const std::int64_t high = type == FieldType::I16 ? kLargest16 : kLargest32;
  return {offset, type, Conversion::Decibels, control, 0, high, integer_bits};
}
constexpr Field Level(std::size_t offset, const char* control,
                      Conversion conversion = Conversion::Percent) {
  return {offset, FieldType::I16, conversion, control, 0, kLargest16, 1};
}
constexpr Field Intensity(std::size_t offset, const char* control) {
  return {offset, FieldType::I32, Conversion::LevelIntensity, control, 0, kLargest32, 1};
}
constexpr Field Number(std::size_t offset, FieldType type, const char* control, std::int64_t low,
                       std::int64_t high) {
  return {offset, type, Conversion::Integer, control, low, high};
}
constexpr Field Choice(std::size_t offset, const char* control, Conversion conversion,
                       std::int64_t low = 0, std::int64_t high = kLargest32) {
  return {offset, FieldType::U32, conversion, control, low, high};
}

}  // namespace rows

// The first field whose number is outside its range; null if there is none.
const Field* FindOutOfRange(std::span<const Field> fields, std::span<const std::byte> record);

// What the texts of one driver's fields have of their own.
struct TextStyle {
  int decimals;          // at most, of decibels and percentages
  const char* silence;   // a gain of zero
  const char* negative;  // a negative gain; null shows the gain itself
  std::string (*choice)(const Field& field, std::int64_t value);  // null without choices
};

// Appends the field's numbers, each in its control's own unit.
void DecodeField(const Field& field, std::span<const std::byte> record, const TextStyle& style,
                 std::vector<DecodedField>& decoded);
// The number of a field, and for the one that is wanted the one it is: "0x0, expected 0x1".
std::string FixedText(std::int64_t value, std::int64_t expected);
// A real number with so many digits, the same in every locale.
std::string RealText(double value, int digits);

}  // namespace records
}  // namespace orv
