// The driver's records as text.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "dsp_math/filter_design.h"
#include "platform/text.h"
#include "qc_dsp/record_tables.h"
#include "records/number_text.h"
#include "records/word_decoder.h"

namespace orv {
namespace {

using namespace qualcomm;

constexpr int kDecimals = 2;
constexpr int kCoefficientDigits = 9;

std::string GainText(std::int64_t word, int fraction_bits) {
  if (word == 0) return "mute";
  if (word < 0) return "inverted";
  const double real = std::ldexp(static_cast<double>(word), -fraction_bits);
  return DecimalText(20 * std::log10(real), kDecimals, 1) + " dB";
}

std::string HexText(std::int64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(value));
  return text;
}

std::string FixedText(std::int64_t value, std::int64_t expected) {
  return HexText(value) + (value == expected ? "" : ", expected " + HexText(expected));
}

std::string NumberText(const Field& field, std::int64_t value) {
  switch (field.conversion) {
    case Conversion::GainQ15:
      return GainText(value, 15);
    case Conversion::GainQ13:
      return GainText(value, 13);
    case Conversion::GainQ23:
      return GainText(value, 23);
    case Conversion::LevelQ15:
      return DecimalText(static_cast<double>(value) * 100 / 32768, kDecimals, 0) + " %";
    case Conversion::Fixed:
      return FixedText(value, field.fixed);
    case Conversion::Options:
      return HexText(value);
    default:
      return std::to_string(value);
  }
}

std::string NumberLabel(const Field& field) {
  if (field.conversion == Conversion::Options) return "option bits";
  if (field.conversion != Conversion::Fixed) return Utf8FromWide(field.control);
  return field.fixed == 0 ? "reserved" : "fixed value";
}

void AddOptions(const Record& record, std::uint32_t bits, std::vector<DecodedField>& fields) {
  for (const Option& option : record.options) {
    const bool set = (bits & option.mask) == option.bits;
    if (option.test == OptionTest::Always) {
      fields.push_back(
          {0, "fixed bits", bits & option.mask, FixedText(bits & option.mask, option.bits)});
    } else if (option.text == nullptr) {
      fields.push_back({0, Utf8FromWide(option.control), set, set ? "on" : "off"});
    } else if (set) {
      const std::uint32_t value = option.operand + (option.test == OptionTest::Above ? 1 : 0);
      fields.push_back({0, Utf8FromWide(option.control), value, option.text});
    }
  }
}

// What the high-pass field's order makes of its words; 0 if it is not an order.
std::size_t HighPassSections(std::span<const std::byte> payload) {
  const std::int64_t order = ReadField(payload, 0, FieldType::I32);
  if (order < 1 || order > kHighestOrder) return 0;
  return ButterworthSections(static_cast<std::int32_t>(order));
}

std::vector<DecodedField> DecodeWords(const Field& field, std::span<const std::byte> payload) {
  WordDecoder words(payload.subspan(field.offset, field.count * FieldWidth(field.type)),
                    {.digits = kCoefficientDigits, .offset = field.offset});
  std::string prefix;
  std::size_t sections = kBands;
  switch (field.conversion) {
    case Conversion::BassFilters:
      words.Resonators("audio");
      words.Resonators("analysis");
      return words.Finish({}, field.type);
    case Conversion::LeftBands:
      prefix = "left ";
      break;
    case Conversion::RightBands:
      prefix = "right ";
      break;
    default:
      sections = HighPassSections(payload);
  }
  if (sections != 0) words.Cascade(prefix, sections);
  return words.Finish(prefix + "unused", field.type);
}

}  // namespace

std::vector<DecodedField> DecodeQualcommRecord(std::uint32_t parameter,
                                               std::span<const std::byte> payload) {
  const Record* record = FindRecord(parameter);
  if (record == nullptr || payload.size() != record->size) return {};
  std::vector<DecodedField> fields;
  for (const Field& field : record->fields) {
    if (field.conversion >= Conversion::BassFilters) {
      std::ranges::move(DecodeWords(field, payload), std::back_inserter(fields));
      continue;
    }
    for (std::size_t i = 0; i < field.count; ++i) {
      const std::size_t offset = field.offset + i * FieldWidth(field.type);
      const std::int64_t value = ReadField(payload, offset, field.type);
      fields.push_back({offset, NumberLabel(field), value, NumberText(field, value)});
    }
    if (field.conversion == Conversion::Options)
      AddOptions(*record, static_cast<std::uint32_t>(fields.back().value), fields);
  }
  return fields;
}

}  // namespace orv
