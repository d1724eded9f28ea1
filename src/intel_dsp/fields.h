// Fields of the parameter blocks of the Intel modules: one row for each, filled from controls and
// decoded to text by the same functions. The tables are in broadwell/ and skylake/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "intel_dsp/conversion/converters.h"
#include "records/layout.h"

namespace orv::intel {

// How a field is made from controls, and how its value reads.
enum class Conversion : std::uint8_t {
  Reserved,
  Bool,
  Decibels,  // the control counts tenths of dB
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
  // Of the Skylake module alone; the levels depend on further controls or fields.
  MainTech,  // the last choice
  BandGain,
  BassLevel,
  DefinitionLevel,
  ClarityLevel,
  FocusLevel,  // takes over the clarity level
  HeadphoneClarityEnable,
  HeadphoneClarityLevel,
  SampleRate,
};
// Whether one number makes the field, by one rule for all fields of its conversion.
constexpr bool IsSimple(Conversion conversion) noexcept {
  return conversion <= Conversion::Integer;
}
constexpr bool IsChoice(Conversion conversion) noexcept {
  return conversion >= Conversion::SpeakerSize && conversion <= Conversion::MainTech;
}

inline constexpr float kTenthsOfDecibel = 10.0F;
inline constexpr std::int64_t kLargest16 = 0x7FFF;
inline constexpr std::int64_t kLargest32 = 0x7FFFFFFF;

struct Field {
  std::size_t offset;
  FieldType type;
  Conversion conversion;
  const char* control;
  // What the Skylake module accepts; the Broadwell driver checks its values itself.
  std::int64_t low = std::numeric_limits<std::int64_t>::min();
  std::int64_t high = std::numeric_limits<std::int64_t>::max();
  int integer_bits = 0;            // of a fixed-point field, its sign included
  bool alone = true;               // whether clients may change it by itself
  const char* fallback = nullptr;  // the control that replaces a missing one
  std::size_t count = 1;
};

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

// Passes the field to a converter as a variable of the converter's type, then stores it. The
// converter may leave what the field holds.
template <class Value, class Convert>
void FillAs(const Field& field, std::span<std::byte> block, Convert convert) {
  auto value = static_cast<Value>(ReadField(block, field.offset, field.type));
  convert(value);
  StoreField(block, field.offset, field.type, value);
}

// Whether the map has a control that fills the field.
bool HasControl(const Field& field, const ControlValueMap& map);
// Fills one field; throws IntelException, the field untouched, if its control does not allow it.
// The Skylake module's own conversions are not known here.
void FillField(const Field& field, const ControlValueMap& map, std::span<std::byte> block);

// The fields of a block as they read, in their order.
std::vector<DecodedField> DecodeFields(std::span<const Field> fields,
                                       std::span<const std::byte> block);

}  // namespace orv::intel
