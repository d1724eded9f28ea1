// The driver's records as text.
#include <algorithm>
#include <iterator>

#include "dsp_math/filter_design.h"
#include "qc_dsp/record_tables.h"
#include "records/word_decoder.h"

namespace orv {
namespace {

using namespace qualcomm;

constexpr records::TextStyle kStyle = {2, "mute", "inverted", nullptr};
constexpr int kCoefficientDigits = 9;

void AddOptions(const Record& record, std::uint32_t bits, std::vector<DecodedField>& fields) {
  for (const Option& option : record.options) {
    const std::uint32_t held = bits & option.mask;
    const bool set = held == option.bits;
    if (*option.control == 0) {
      fields.push_back({0, "fixed bits", held, records::FixedText(held, option.bits)});
    } else if (option.text == nullptr) {
      fields.push_back({0, option.control, set, set ? "on" : "off"});
    } else if (set) {
      fields.push_back({0, option.control, option.low, option.text});
    }
  }
}

// The sections of the record's high-pass order; 0 if it is not an order.
std::size_t HighPassSections(std::span<const std::byte> payload) {
  const std::int64_t order = ReadField(payload, 0, FieldType::I32);
  if (order < 1 || order > kHighestOrder) return 0;
  return ButterworthSections(static_cast<std::int32_t>(order));
}

std::vector<DecodedField> DecodeWords(const Field& field, std::span<const std::byte> payload) {
  records::WordDecoder words(payload.subspan(field.offset, field.count * FieldWidth(field.type)),
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
    records::DecodeField(field, payload, kStyle, fields);
    if (field.conversion == Conversion::Options)
      AddOptions(*record, static_cast<std::uint32_t>(fields.back().value), fields);
  }
  return fields;
}

}  // namespace orv
