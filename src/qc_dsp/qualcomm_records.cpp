#include "qc_dsp/qualcomm_records.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "dsp_math/elementary.h"
#include "dsp_math/filter_design.h"
#include "dsp_math/fixed_point.h"
#include "platform/diagnostics.h"
#include "qc_dsp/record_tables.h"
#include "records/word_decoder.h"

namespace orv {
namespace {

using namespace qualcomm;

constexpr std::size_t kSections = kBands;
static_assert(FilterWords(kSections) == kCascadeWords);
static_assert(ButterworthSections(kHighestOrder) == kSections);

std::int32_t ValueOf(const QualcommControls& controls, std::string_view name) {
  const auto found = controls.find(std::wstring(name.begin(), name.end()));
  return found != controls.end() ? found->second : 0;
}
float UnsignedOf(const QualcommControls& controls, const std::string& name) {
  return static_cast<float>(static_cast<std::uint32_t>(ValueOf(controls, name)));
}

// Linear, in the single precision that the driver's formats are rounded from.
double Gain(std::int32_t decibels) {
  return decibels == kMute ? 0 : static_cast<float>(DecibelsToGain(decibels));
}

std::uint32_t OptionBits(const Record& record, const QualcommControls& controls) {
  std::uint32_t bits = 0;
  for (const Option& option : record.options) {
    const auto value = static_cast<std::uint32_t>(ValueOf(controls, option.control));
    if (value >= option.low && value <= option.high) bits |= option.bits;
  }
  return bits;
}

// The words of one field. Words that a design does not write stay zero.
using Words = std::array<std::int32_t, kCascadeWords>;
using Workspace = std::array<std::byte, FilterWorkspace(kSections)>;

Words DesignBass(const Record& record, const QualcommControls& controls) {
  const std::int32_t audio = ValueOf(controls, "QUMEDIA-DPHD Speaker Audio Custom Size");
  const bool split = ValueOf(controls, "QUMEDIA-DPHD Split Analysis Enable") != 0;
  const std::int32_t analysis =
      split ? ValueOf(controls, "QUMEDIA-DPHD Speaker Analysis Custom Size") : audio;
  Diagnose(ORV_HERE(record.writer), record.sizes_line, analysis, audio);
  static_assert(kBassEnhancementWords <= kCascadeWords);
  Words words{};
  Workspace workspace;
  DesignBassEnhancementFilters(static_cast<float>(audio), static_cast<float>(analysis), kSampleRate,
                               words.data(), workspace.data());
  return words;
}

Words DesignHighPass(const QualcommControls& controls) {
  const std::int32_t order = ValueOf(controls, "QUMEDIA-HPF Order");
  if (order < 1 || order > kHighestOrder) return {};
  Words words{};
  Workspace workspace;
  DesignButterworth32(static_cast<float>(ValueOf(controls, "QUMEDIA-HPF Frequency")), order,
                      kSampleRate, kButterworthHighPass, words.data(), workspace.data());
  return words;
}

Words DesignBands(const std::string& channel, const QualcommControls& controls) {
  std::array<FilterBand, kBands> bands;
  for (std::size_t i = 0; i < bands.size(); ++i) {
    const std::string name = fmt::format("QUMEDIA-PEQ {} Band {} ", channel, i);
    bands[i] = {kORVFilter_Traditional, UnsignedOf(controls, name + "Frequency"),
                UnsignedOf(controls, name + "Q Factor") / 100.0F,
                static_cast<float>(ValueOf(controls, name + "Gain")), 0};
  }
  Words words{};
  Workspace workspace;
  DesignFilterSet({kBands, bands.data(), kSampleRate}, words.data(), workspace.data());
  return words;
}

// The field's number or words, as many as its count.
Words WordsOf(const Record& record, const Field& field, const QualcommControls& controls) {
  const auto fixed_point = [&](double real) -> Words {
    return {static_cast<std::int32_t>(ToFixed(real, field.bits(), field.integer_bits))};
  };
  switch (field.conversion) {
    case Conversion::Options:
      return {static_cast<std::int32_t>(OptionBits(record, controls))};
    case Conversion::Decibels:
      return fixed_point(Gain(ValueOf(controls, field.control)));
    case Conversion::Percent:
      return fixed_point(UnsignedOf(controls, field.control) / 100.0F);
    case Conversion::BassFilters:
      return DesignBass(record, controls);
    case Conversion::HighPass:
      return DesignHighPass(controls);
    case Conversion::LeftBands:
      return DesignBands("Left", controls);
    case Conversion::RightBands:
      return DesignBands("Right", controls);
    case Conversion::Fixed:
      return {static_cast<std::int32_t>(field.low)};
    default:
      return {ValueOf(controls, field.control)};
  }
}

// The records as text.

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

std::string QualcommRecordName(std::uint32_t parameter) {
  const Record* record = FindRecord(parameter);
  return record != nullptr ? record->name : "";
}

std::wstring_view QualcommRecordNeeds(QualcommParameter parameter) noexcept {
  return FindRecord(parameter)->needs;
}

QualcommRecord::QualcommRecord(QualcommParameter parameter, const QualcommControls& controls)
    : size_(FindRecord(parameter)->size) {
  const Record& record = *FindRecord(parameter);
  for (const Field& field : record.fields) {
    const Words words = WordsOf(record, field, controls);
    for (std::size_t i = 0; i < field.count; ++i)
      StoreField(storage_, field.offset + i * FieldWidth(field.type), field.type, words[i]);
  }
}

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
