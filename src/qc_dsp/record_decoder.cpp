// The driver's records as people read them.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "dsp_math/filter_design.h"
#include "platform/text.h"
#include "qc_dsp/record_tables.h"

namespace orv {
namespace {

using namespace qualcomm;

std::string Formatted(const char* format, double number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

// Two decimals, of which trailing zeros beyond `kept` go; no "-0.0".
std::string Decimals(double number, std::size_t kept) {
  std::string text = Formatted("%.2f", std::abs(number) < 0.005 ? 0.0 : number);
  while (text.back() == '0' && text.size() - text.find('.') - 1 > kept) text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string GainText(std::int64_t word, int fraction_bits) {
  if (word == 0) return "mute";
  if (word < 0) return "inverted";
  return Decimals(20 * std::log10(std::ldexp(static_cast<double>(word), -fraction_bits)), 1) +
         " dB";
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
      return Decimals(static_cast<double>(value) * 100 / 32768, 0) + " %";
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

std::string CoefficientText(std::int64_t word, std::int64_t exponent) {
  const auto power = static_cast<int>(std::clamp<std::int64_t>(exponent, -1000, 1000));
  return Formatted("%.9g", std::ldexp(static_cast<double>(word), power));
}

// A cascade of so many sections in a field of kCascadeWords.
class CascadeWords {
 public:
  CascadeWords(std::span<const std::byte> payload, const Field& field, std::size_t sections)
      : payload_(payload), field_(field), sections_(sections) {}

  DecodedField Decode(std::size_t i) const {
    static constexpr const char* kNames[] = {"shift", "b0", "b1", "b2", "a1", "a2"};
    const std::size_t section = i / 6;
    const bool used = sections_ != 0 && i < FilterWords(sections_);
    const std::string label = !used ? "unused"
                              : section < sections_
                                  ? "section " + std::to_string(section + 1) + " " + kNames[i % 6]
                              : i % 6 == 0 ? "gain shift"
                                           : "gain";
    const std::int64_t word = Word(i);
    return {field_.offset + 4 * i, Prefix() + label, word,
            !used || i % 6 == 0 ? std::to_string(word) : CoefficientText(word, Exponent(section))};
  }

 private:
  std::string Prefix() const {
    return field_.conversion == Conversion::LeftBands    ? "left "
           : field_.conversion == Conversion::RightBands ? "right "
                                                         : "";
  }
  std::int64_t Word(std::size_t i) const {
    return ReadField(payload_, field_.offset + 4 * i, FieldType::I32);
  }
  std::int64_t Exponent(std::size_t section) const { return Word(6 * section) - 32; }

  std::span<const std::byte> payload_;
  const Field& field_;
  std::size_t sections_;
};

DecodedField DecodeBassWord(std::span<const std::byte> payload, const Field& field, std::size_t i) {
  static constexpr const char* kNames[] = {"low-pass b0",    "low-pass a1",    "resonator 1 b2",
                                           "resonator 1 a1", "resonator 1 a2", "resonator 2 b2",
                                           "resonator 2 a1", "resonator 2 a2"};
  const std::size_t offset = field.offset + 4 * i;
  const std::int64_t word = ReadField(payload, offset, FieldType::I32);
  return {offset, std::string(i < 8 ? "audio " : "analysis ") + kNames[i % 8], word,
          CoefficientText(word, i % 8 < 2 ? -31 : -30)};
}

void AddWords(const Field& field, std::span<const std::byte> payload,
              std::vector<DecodedField>& fields) {
  std::size_t sections = kBands;
  if (field.conversion == Conversion::HighPass) {
    const std::int64_t order = ReadField(payload, 0, FieldType::I32);
    const bool designed = order >= 1 && order <= kHighestOrder;
    sections = designed ? ButterworthSections(static_cast<std::int32_t>(order)) : 0;
  }
  const CascadeWords cascade(payload, field, sections);
  for (std::size_t i = 0; i < field.count; ++i) {
    fields.push_back(field.conversion == Conversion::BassFilters ? DecodeBassWord(payload, field, i)
                                                                 : cascade.Decode(i));
  }
}

}  // namespace

std::vector<DecodedField> DecodeQualcommRecord(std::uint32_t parameter,
                                               std::span<const std::byte> payload) {
  const Record* record = FindRecord(parameter);
  if (record == nullptr || payload.size() != record->size) return {};
  std::vector<DecodedField> fields;
  for (const Field& field : record->fields) {
    if (field.conversion >= Conversion::BassFilters) {
      AddWords(field, payload, fields);
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
