#include "qc_dsp/qualcomm_records.h"

#include "dsp_math/elementary.h"
#include "dsp_math/filter_design.h"
#include "dsp_math/fixed_point.h"
#include "platform/diagnostics.h"
#include "qc_dsp/record_tables.h"

namespace orv {
namespace {

using namespace qualcomm;

constexpr std::size_t kSections = kBands;
static_assert(FilterWords(kSections) == kCascadeWords);
static_assert(ButterworthSections(kHighestOrder) == kSections);

std::int32_t ValueOf(const QualcommControls& controls, std::wstring_view name) {
  const auto found = controls.find(name);
  return found != controls.end() ? found->second : 0;
}
std::uint32_t UnsignedOf(const QualcommControls& controls, std::wstring_view name) {
  return static_cast<std::uint32_t>(ValueOf(controls, name));
}

// Linear, in the single precision that the driver's formats are rounded from.
double Gain(std::int32_t decibels) {
  return decibels == kMute ? 0 : static_cast<float>(DecibelsToGain(decibels));
}
double Level(std::uint32_t percent) { return static_cast<float>(percent) / 100.0F; }

std::uint32_t OptionBits(const Record& record, const QualcommControls& controls) {
  std::uint32_t bits = 0;
  for (const Option& option : record.options)
    if (option.Holds(UnsignedOf(controls, option.control))) bits |= option.bits;
  return bits;
}

// The numbers of one field. Numbers that a design does not reach stay zero.
using Numbers = std::array<std::int32_t, kCascadeWords>;
using Workspace = std::array<std::byte, FilterWorkspace(kSections)>;

Numbers DesignBass(const Record& record, const QualcommControls& controls) {
  const std::int32_t audio = ValueOf(controls, L"QUMEDIA-DPHD Speaker Audio Custom Size");
  const bool split = ValueOf(controls, L"QUMEDIA-DPHD Split Analysis Enable") != 0;
  const std::int32_t analysis =
      split ? ValueOf(controls, L"QUMEDIA-DPHD Speaker Analysis Custom Size") : audio;
  Diagnose(ORV_HERE(record.writer), record.sizes_line, analysis, audio);
  static_assert(kBassEnhancementWords <= kCascadeWords);
  Numbers words{};
  Workspace workspace;
  DesignBassEnhancementFilters(static_cast<float>(audio), static_cast<float>(analysis), kSampleRate,
                               words.data(), workspace.data());
  return words;
}

Numbers DesignHighPass(const QualcommControls& controls) {
  const std::int32_t order = ValueOf(controls, L"QUMEDIA-HPF Order");
  if (order < 1 || order > kHighestOrder) return {};
  Numbers words{};
  Workspace workspace;
  DesignButterworth32(static_cast<float>(ValueOf(controls, L"QUMEDIA-HPF Frequency")), order,
                      kSampleRate, kButterworthHighPass, words.data(), workspace.data());
  return words;
}

Numbers DesignBands(const std::wstring& channel, const QualcommControls& controls) {
  std::array<FilterBand, kBands> bands;
  std::wstring name = L"QUMEDIA-PEQ " + channel + L" Band 0 ";
  const std::size_t digit = name.size() - 2;
  const auto value = [&](const wchar_t* ending) { return ValueOf(controls, name + ending); };
  for (int k = 0; k < kBands; ++k) {
    name[digit] = static_cast<wchar_t>(L'0' + k);
    bands[static_cast<std::size_t>(k)] = {
        kORVFilter_Traditional, static_cast<float>(static_cast<std::uint32_t>(value(L"Frequency"))),
        static_cast<float>(static_cast<std::uint32_t>(value(L"Q Factor"))) / 100.0F,
        static_cast<float>(value(L"Gain")), 0};
  }
  Numbers words{};
  Workspace workspace;
  DesignFilterSet({kBands, bands.data(), kSampleRate}, words.data(), workspace.data());
  return words;
}

// The numbers of a field, as many as its count.
Numbers NumbersOf(const Record& record, const Field& field, const QualcommControls& controls) {
  const std::int32_t value = ValueOf(controls, field.control);
  switch (field.conversion) {
    case Conversion::Options:
      return {static_cast<std::int32_t>(OptionBits(record, controls))};
    case Conversion::Number:
      return {value};
    case Conversion::GainQ15:
      return {ToFixed16(Gain(value), 1)};
    case Conversion::GainQ13:
      return {ToFixed16(Gain(value), 3)};
    case Conversion::GainQ23:
      return {ToFixed32(Gain(value), 9)};
    case Conversion::LevelQ15:
      return {ToFixed16(Level(static_cast<std::uint32_t>(value)), 1)};
    case Conversion::BassFilters:
      return DesignBass(record, controls);
    case Conversion::HighPass:
      return DesignHighPass(controls);
    case Conversion::LeftBands:
      return DesignBands(L"Left", controls);
    case Conversion::RightBands:
      return DesignBands(L"Right", controls);
    case Conversion::Fixed:
      break;
  }
  return {static_cast<std::int32_t>(field.fixed)};
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
    const Numbers words = NumbersOf(record, field, controls);
    for (std::size_t i = 0; i < field.count; ++i)
      StoreField(storage_, field.offset + i * FieldWidth(field.type), field.type, words[i]);
  }
}

}  // namespace orv
