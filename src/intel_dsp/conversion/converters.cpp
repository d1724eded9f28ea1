#include "intel_dsp/conversion/converters.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "dsp_math/elementary.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/conversion/enumeration_tables.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

using records::Conversion;
using records::Field;
using Utils = KELAPOIntelDSP_Utils;
using Control = Utils::Control;
using Number = Utils::Number;

// Shorter texts hold a number, longer ones a name.
constexpr std::size_t kShortestName = 4;
constexpr double kProcessGainStep = 1610612736.0 / 3.0;  // 2^29

// The number at the start of the text, in the C locale; 0 if there is none.
double LeadingNumber(const std::string& text) {
  std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string::npos) return 0;
  if (text[start] == '+' && text.compare(start, 2, "+-") != 0) ++start;
  // Names of infinity and "nan" are not numbers.
  const std::size_t first = text[start] == '-' ? start + 1 : start;
  if (text.find_first_of("0123456789.", first) != first) return 0;
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data() + start, end, number);
  if (result.ec != std::errc::result_out_of_range) return number;
  const std::string_view parsed(text.data() + start, result.ptr);
  if (parsed.find("e-") != std::string_view::npos || parsed.find("E-") != std::string_view::npos)
    return 0;
  const double infinity = std::numeric_limits<double>::infinity();
  return parsed.front() == '-' ? -infinity : infinity;
}

std::optional<double> CompanionFloat(const Control& control) {
  const Control companion{control.name + " Float", control.map};
  if (companion.Find() == nullptr) return std::nullopt;
  return LeadingNumber(companion.Text());
}

// Decibels in steps of 1/scale dB as a linear value in single precision.
float LinearGain(std::int32_t steps, float scale) {
  const float exponent = static_cast<float>(steps) / scale / 20.0F;
  constexpr double kLargest = std::numeric_limits<float>::max();
  return static_cast<float>(std::min(DecibelsToGain(20.0 * exponent), kLargest));
}

struct LinearValue {
  double read;  // as the control gives it
  double linear;
};

LinearValue ReadDecibels(const Control& control, float scale) {
  if (const auto linear = CompanionFloat(control)) return {*linear, *linear};
  const std::int32_t steps = control.Require("Can't find dB value").ToLong();
  return {static_cast<double>(steps), LinearGain(steps, scale)};
}

void ReportStored(const DiagnosticSite& site, const std::string& name, Number field) {
  const auto word = static_cast<std::int32_t>(field);
  Diagnose(site, L"%s = %d (0x%x)\n", name, word, word);
}

// The code of a text in the table; `fallback` converts any other control.
void LookUp(const DiagnosticSite& site, const Control& control, const EnumTable& table,
            Number& field, const wchar_t* error_line, Number (*fallback)(std::int32_t value)) {
  const ORVQVTValue* const value = control.Find();
  if (value == nullptr) {
    const IntelException missing(control.name, "Can't find enum value.");
    Diagnose(site, error_line, missing.what());
    throw missing;
  }
  const auto found = table.find(value->ToString());
  field = found != table.end() ? found->second : fallback(value->ToLong());
  ReportStored(site, control.name, field);
}

// A text of the table; any other leaves the field untouched and is reported.
void LookUpOrKeep(const DiagnosticSite& site, const std::string& name, const std::string& text,
                  const EnumTable& table, Number& field, const wchar_t* error_line,
                  const IntelException& error) {
  const auto found = table.find(text);
  if (found == table.end()) return Diagnose(site, error_line, error.what());
  field = found->second;
  ReportStored(site, name, field);
}

std::uint32_t SpeakerSizeCode(const Control& control) {
  const std::string text = control.Text();
  if (text.size() >= kShortestName) {
    const auto found = SpeakerSizeTable().find(text);
    if (found != SpeakerSizeTable().end()) return found->second;
    throw IntelException(control.name, "Can't get DP speaker size");
  }
  const auto found = std::ranges::find(kSpeakerSizes, control.Find()->ToLong());
  if (found != kSpeakerSizes.end())
    return static_cast<std::uint32_t>(found - kSpeakerSizes.begin());
  throw IntelException(control.name, "Invalid Punchbass size specified.");
}

std::string CodeText(std::int64_t code) { return fmt::format("code {}", code); }

// A code as an index into frequencies in Hz, or the custom one: "150 Hz", "custom".
std::string FrequencyCodeText(std::int64_t code, std::span<const int> frequencies) {
  if (code == kCustomSizeCode) return "custom";
  if (code < 0 || code >= static_cast<std::int64_t>(frequencies.size())) return CodeText(code);
  return fmt::format("{} Hz", frequencies[static_cast<std::size_t>(code)]);
}

const EnumTable& NamesOf(Conversion conversion) {
  switch (conversion) {
    case Conversion::DPHDMode:
      return DPHDModeTable();
    case Conversion::ORV3DMode:
      return ORV3DModeTable();
    case Conversion::InputMode:
      return ChannelConfigTable();
    case Conversion::DecoderMode:
      return MXDecoderModeTable();
    default:
      return MainTechTable();
  }
}

// The first name of the control's own suite ("VQ3D-" of "VQ3D-DPHD Mode") for a code.
std::string ChoiceText(const Field& field, std::int64_t code) {
  if (field.conversion == Conversion::SpeakerSize) return FrequencyCodeText(code, kSpeakerSizes);
  if (field.conversion == Conversion::SpaceCutoff) return FrequencyCodeText(code, kSpaceCutoffs);
  const std::string_view control = field.control;
  for (const auto& [name, number] : NamesOf(field.conversion)) {
    if (number == code && name.starts_with(control.substr(0, control.find('-') + 1))) return name;
  }
  return CodeText(code);
}

}  // namespace

const ORVQVTValue* Control::Find() const {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : &found->second;
}

const ORVQVTValue& Control::Require(const char* message) const {
  if (const ORVQVTValue* value = Find()) return *value;
  throw IntelException(name, message);
}

std::string Control::Text(const char* message) const { return Require(message).ToString(); }

void KELAPOIntelDSP_Utils::SetDbValue(const Control& control, Number& field, int bits,
                                      int integer_bits, float scale) {
  const LinearValue value = ReadDecibels(control, scale);
  field = ToFixed(value.linear, bits, integer_bits);
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetDbValue"), L"%s = %f (.1dB) = 0x%x\n", control.name,
           value.read, static_cast<int>(field));
}

void KELAPOIntelDSP_Utils::SetEVolHDLevelIntensity(const Control& control, Number& field,
                                                   int integer_bits) {
  double linear = 0;
  if (const auto companion = CompanionFloat(control)) {
    linear = *companion;
  } else {
    const std::int32_t value =
        control.Require("SetDbValue() failed, can't find value in control list.").ToLong();
    linear = value < 0 ? LinearGain(value, kTenthsOfDecibel) : static_cast<float>(value) / 100.0F;
  }
  field = ToFixed32(linear, integer_bits);
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetEVolHDLevelIntensity"), control.name, field);
}

void KELAPOIntelDSP_Utils::SetVocaliftProcessGain(const Control& control, Number& field) {
  const LinearValue value = ReadDecibels(control, kTenthsOfDecibel);
  const double steps = value.linear * kProcessGainStep;
  // A gain that exceeds 32 bits becomes a word outside every range.
  constexpr std::uint32_t kNoWord = 0x80000000U;
  const bool fits = steps > -2147483649.0 && steps < 4294967296.0;
  const auto word = fits ? static_cast<std::uint32_t>(static_cast<std::int64_t>(steps)) : kNoWord;
  field = word;
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetVocaliftProcessGain"), L"%s = %f (.1dB) = 0x%x\n",
           control.name, value.read, word);
}

void KELAPOIntelDSP_Utils::SetPercentValue(const Control& control, Number& field,
                                           int integer_bits) {
  const std::int32_t percent = control.Require("Can't find int value.").ToLong();
  field = ToFixed16(static_cast<float>(percent) / 100.0F, integer_bits);
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetPercentValue"), control.name, field);
}

void KELAPOIntelDSP_Utils::SetFloatValue(const Control& control, float& field, float divisor) {
  field = static_cast<float>(control.Require("Can't find float value.").ToLong()) / divisor;
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetFloatValue"), L"%s = %f (0x%x)\n", control.name,
           static_cast<double>(field), std::bit_cast<std::uint32_t>(field));
}

bool KELAPOIntelDSP_Utils::SetGainValue_Float(const Control& control, Number& field,
                                              float multiplier) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetGainValue_Float");
  const ORVQVTValue* const value = control.Find();
  if (value == nullptr) {
    Diagnose(site, L"Warning: can't find gain value for [%s]\n", control.name);
    return false;
  }
  const float scaled = value->ToFloat() * multiplier;
  const int word =
      std::isnan(scaled) ? 0 : static_cast<int>(std::clamp(scaled, -32768.0F, 32767.0F));
  field = word;
  Diagnose(site, L"OK: %s = %d (0x%x)\n", control.name, word, word);
  return true;
}

void KELAPOIntelDSP_Utils::SetIntegerValue(const Control& control, Number& field) {
  field = control.Require("Can't find integer value.").ToLong();
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetIntegerValue"), control.name, field);
}

void KELAPOIntelDSP_Utils::SetBoolField(const Control& control, Number& field) {
  const std::string& name = control.name;
  const std::string missing = "Can't find bool control: " + name;
  const std::string text = control.Text(missing.c_str());
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetBoolField"), L"%s = %s\n", name, text);
  const std::int32_t value = control.Find()->ToLong();  // takes "Enabled" and "Disabled" as well
  if (value != 0 && value != 1)
    throw IntelException(name, fmt::format("Illegal bool value: {} = {}", name, text));
  field = value;
}

void KELAPOIntelDSP_Utils::SetORV3DMode(const Control& control, Number& field) {
  LookUp(ORV_HERE("KELAPOIntelDSP_Utils::SetORV3DMode"), control, ORV3DModeTable(), field,
         L"Processing ORV3DMode contrains Long Values error: %s\n",
         [](std::int32_t value) { return Number{value}; });
}

void KELAPOIntelDSP_Utils::SetDPHDMode(const Control& control, Number& field) {
  LookUp(ORV_HERE("KELAPOIntelDSP_Utils::SetDPHDMode"), control, DPHDModeTable(), field,
         L"Processing DPHD Mode contrains Long Values error: %s\n",
         [](std::int32_t value) { return Number{value}; });
}

void KELAPOIntelDSP_Utils::SetMXHPDecoderMode(const Control& control, Number& field) {
  // Music or cinema.
  LookUp(ORV_HERE("KELAPOIntelDSP_Utils::SetMXHPDecoderMode"), control, MXDecoderModeTable(), field,
         L"Processing MXHP Mode contrains error: %s\n",
         [](std::int32_t value) { return Number{value != 0 ? 4 : 1}; });
}

void KELAPOIntelDSP_Utils::SetAMHDSpaceHPF(const Control& control, Number& field) {
  LookUp(ORV_HERE("KELAPOIntelDSP_Utils::SetAMHDSpaceHPF"), control, SpaceHPFCutoffTable(), field,
         L"Processing ORVSpaceHPFCutton Freq contrains Long Values error: %s\n",
         [](std::int32_t) { return Number{kCustomSizeCode}; });
}

void KELAPOIntelDSP_Utils::SetDPSizeStr(const Control& control, Number& field) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetDPSizeStr");
  std::uint32_t code = kCustomSizeCode;
  try {
    code = SpeakerSizeCode(control);
  } catch (const IntelException& error) {
    Diagnose(site, L"%s\n", error.what());
    control.Require("Can't find enum value.");
  }
  field = code;
  ReportStored(site, control.name, field);
}

void KELAPOIntelDSP_Utils::SetMainTechStr_VQ3D(const Control& control, Number& field) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetMainTechStr_VQ3D");
  const std::string text = control.Text();
  if (text.size() >= kShortestName)
    return LookUpOrKeep(site, control.name, text, MainTechTable(), field, L"Error: %s\n",
                        {control.name, "Main tech index not found: " + text});
  field = std::strtol(text.c_str(), nullptr, 10);  // 0 if the text is not a number
  ReportStored(site, control.name, field);
}

void KELAPOIntelDSP_Utils::SetFilterTypeStr_VQ3D(const Control& control, Number& field) {
  const std::string text = control.Text();
  if (text.size() < kShortestName) return;
  LookUpOrKeep(ORV_HERE("KELAPOIntelDSP_Utils::SetFilterTypeStr_VQ3D"), control.name, text,
               FilterTypeTable(), field, L"Error processing [VQ3D-Custom Filter Type]: %s\n",
               {control.name, "Cannot find valid [VQ3D-Custom Filter Type] value."});
}

void KELAPOIntelDSP_Utils::SetAMHDInputModeStr(const Control& control, Number& field) {
  const std::string text = control.Text();
  if (text.size() >= kShortestName)
    return LookUpOrKeep(ORV_HERE("KELAPOIntelDSP_Utils::SetAMHDInputMode"), text, text,
                        ChannelConfigTable(), field, L"error: %s\n",
                        {text, "Cannot find in mapping table"});
  const int index = std::stoi(text);
  if (index < 0 || static_cast<std::size_t>(index) >= kChannelMasks.size())
    throw IntelException(control.name, "Channel configuration index out of range: " + text);
  field = kChannelMasks[static_cast<std::size_t>(index)];
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetAMHDInputModeStr"), control.name, field);
}

namespace intel {

std::int32_t IntegerOf(const std::string& control, const ControlValueMap& map) {
  std::int64_t number = 0;
  Utils::SetIntegerValue({control, map}, number);
  return static_cast<std::int32_t>(number);
}

bool HasControl(const Field& field, const ControlValueMap& map) {
  return field.conversion == Conversion::Reserved || map.contains(field.control) ||
         (field.fallback != nullptr && map.contains(field.fallback)) ||
         (field.conversion == Conversion::Decibels &&
          map.contains(std::string(field.control) + " Float"));
}

void FillField(const Field& field, const ControlValueMap& map, std::span<std::byte> block) {
  const bool replaced = field.fallback != nullptr && !map.contains(field.control);
  const Control control{replaced ? field.fallback : field.control, map};
  const auto fill = [&](auto convert, auto... more) {
    Number number = field.Read(block);
    convert(control, number, more...);
    field.Store(block, number);
  };
  switch (field.conversion) {
    case Conversion::Bool:
      return fill(Utils::SetBoolField);
    case Conversion::Decibels:
      return fill(Utils::SetDbValue, field.bits(), field.integer_bits, kTenthsOfDecibel);
    case Conversion::ProcessGain:
      return fill(Utils::SetVocaliftProcessGain);
    case Conversion::Percent:
      return fill(Utils::SetPercentValue, field.integer_bits);
    case Conversion::LevelIntensity:
      return fill(Utils::SetEVolHDLevelIntensity, field.integer_bits);
    case Conversion::Integer:
      return fill(Utils::SetIntegerValue);
    case Conversion::SpeakerSize:
      return fill(Utils::SetDPSizeStr);
    case Conversion::SpaceCutoff:
      return fill(Utils::SetAMHDSpaceHPF);
    case Conversion::DPHDMode:
      return fill(Utils::SetDPHDMode);
    case Conversion::ORV3DMode:
      return fill(Utils::SetORV3DMode);
    case Conversion::InputMode:
      return fill(Utils::SetAMHDInputModeStr);
    case Conversion::DecoderMode:
      return fill(Utils::SetMXHPDecoderMode);
    default:
      return;
  }
}

std::vector<DecodedField> DecodeFields(std::span<const Field> fields,
                                       std::span<const std::byte> block) {
  constexpr records::TextStyle kStyle = {1, "-inf dB", nullptr, ChoiceText};
  std::vector<DecodedField> decoded;
  for (const Field& field : fields) records::DecodeField(field, block, kStyle, decoded);
  return decoded;
}

}  // namespace intel
}  // namespace orv
