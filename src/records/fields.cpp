#include "records/fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orv {

std::int64_t ReadField(std::span<const std::byte> record, std::size_t offset,
                       FieldType type) noexcept {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < FieldWidth(type); ++i)
    bits |= std::to_integer<std::uint32_t>(record[offset + i]) << (8 * i);
  if (type == FieldType::I16) return static_cast<std::int16_t>(bits);
  if (type == FieldType::I32) return static_cast<std::int32_t>(bits);
  return bits;
}

void StoreField(std::span<std::byte> record, std::size_t offset, FieldType type,
                std::int64_t value) noexcept {
  for (std::size_t i = 0; i < FieldWidth(type); ++i)
    record[offset + i] = static_cast<std::byte>((value >> (8 * i)) & 0xFF);
}

namespace records {
namespace {

constexpr int kRealDigits = 7;

// At most so many decimals; zeros at the end are left out down to `fewest`. Never "-0".
std::string DecimalText(double value, int decimals, int fewest) {
  std::string text = fmt::format("{:.{}f}", value, decimals);
  if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  for (; decimals > fewest && text.back() == '0'; --decimals) text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string GainText(double gain, const TextStyle& style) {
  if (gain == 0) return style.silence;
  if (gain > 0) return DecimalText(20 * std::log10(gain), style.decimals, 1) + " dB";
  return style.negative != nullptr ? style.negative : "linear " + RealText(gain, kRealDigits);
}

std::string FieldText(const Field& field, std::int64_t value, const TextStyle& style) {
  const double real = std::ldexp(static_cast<double>(value), field.integer_bits - field.bits());
  switch (field.conversion) {
    case Conversion::Bool:
    case Conversion::HeadphoneClarityEnable:
      if (value == 0) return "off";
      return value == 1 ? "on" : fmt::to_string(value);
    case Conversion::Decibels:
    case Conversion::ProcessGain:
    case Conversion::BandGain:
      return GainText(real, style);
    case Conversion::Percent:
    case Conversion::LevelIntensity:
    case Conversion::BassLevel:
    case Conversion::DefinitionLevel:
    case Conversion::ClarityLevel:
    case Conversion::FocusLevel:
    case Conversion::HeadphoneClarityLevel:
      return DecimalText(100 * real, style.decimals, 0) + " %";
    case Conversion::SampleRate:
      return fmt::format("{} Hz", value);
    case Conversion::Fixed:
      return FixedText(value, field.low);
    case Conversion::Options:
      return FixedText(value, value);
    default:
      return IsChoice(field.conversion) ? style.choice(field, value) : fmt::to_string(value);
  }
}

}  // namespace

const Field* FindOutOfRange(std::span<const Field> fields, std::span<const std::byte> record) {
  const auto found = std::ranges::find_if(fields, [&](const Field& field) {
    const std::int64_t value = field.Read(record);
    return value < field.low || value > field.high;
  });
  return found != fields.end() ? &*found : nullptr;
}

void DecodeField(const Field& field, std::span<const std::byte> record, const TextStyle& style,
                 std::vector<DecodedField>& decoded) {
  for (std::size_t i = 0; i < field.count; ++i) {
    const std::size_t offset = field.offset + i * FieldWidth(field.type);
    const std::int64_t value = ReadField(record, offset, field.type);
    decoded.push_back({offset, field.control, value, FieldText(field, value, style)});
  }
}

std::string FixedText(std::int64_t value, std::int64_t expected) {
  const auto hex = [](std::int64_t number) {
    return fmt::format("0x{:X}", static_cast<std::uint32_t>(number));
  };
  return value == expected ? hex(value) : hex(value) + ", expected " + hex(expected);
}

std::string RealText(double value, int digits) { return fmt::format("{:.{}g}", value, digits); }

}  // namespace records
}  // namespace orv
