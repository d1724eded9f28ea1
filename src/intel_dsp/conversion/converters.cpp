#include "intel_dsp/conversion/converters.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>

#include "dsp_math/elementary.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/conversion/enumeration_tables.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

using Utils = KELAPOIntelDSP_Utils;

// Shorter texts hold a number, longer ones a name.
constexpr std::size_t kShortestName = 4;
constexpr double kProcessGainStep = 1610612736.0 / 3.0;  // 2^29

const ORVQVTValue* FindControl(const std::string& name, const ControlValueMap& map) {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : &found->second;
}

const ORVQVTValue& RequireControl(const std::string& name, const ControlValueMap& map,
                                  const char* message) {
  if (const ORVQVTValue* control = FindControl(name, map)) return *control;
  throw IntelException(name, message);
}

// The number at the start of the text, in the C locale; 0 if there is none.
double LeadingNumber(const std::string& text) {
  std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string::npos) return 0;
  if (text[start] == '+' && text.compare(start, 2, "+-") != 0) ++start;
  // The names of infinity and of what is not a number are not numbers.
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

std::optional<double> CompanionFloat(const std::string& name, const ControlValueMap& map) {
  const ORVQVTValue* control = FindControl(name + " Float", map);
  if (control == nullptr) return std::nullopt;
  return LeadingNumber(control->ToString());
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

LinearValue ReadDecibels(const std::string& name, const ControlValueMap& map, float scale) {
  if (const auto linear = CompanionFloat(name, map)) return {*linear, *linear};
  const std::int32_t steps = RequireControl(name, map, "Can't find dB value").ToLong();
  return {static_cast<double>(steps), LinearGain(steps, scale)};
}

template <class Word>
void StoreDecibels(const std::string& name, const ControlValueMap& map, Word& field, float scale,
                   int integer_bits) {
  const LinearValue value = ReadDecibels(name, map, scale);
  field = static_cast<Word>(ToFixed(value.linear, 8 * sizeof(Word), integer_bits));
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetDbValue"), L"%s = %f (.1dB) = 0x%x\n", name,
           value.read, static_cast<int>(field));
}

template <class Word>
void ReportStored(const DiagnosticSite& site, const std::string& name, Word field) {
  Diagnose(site, L"%s = %d (0x%x)\n", name, static_cast<std::int32_t>(field),
           static_cast<std::int32_t>(field));
}

// A text of the table, or what `fallback` makes of the control.
template <class Fallback>
void LookupOrFallBack(const DiagnosticSite& site, const std::string& name,
                      const ControlValueMap& map, const EnumTable& table, std::uint32_t& field,
                      const wchar_t* error_line, Fallback fallback) {
  try {
    Utils::LookupEnumValue(name, map, table, field);
  } catch (const IntelException& error) {
    const ORVQVTValue* control = FindControl(name, map);
    if (control == nullptr) {
      Diagnose(site, error_line, error.what());
      throw IntelException(name, "Can't find enum value.");
    }
    field = fallback(*control);
  }
  ReportStored(site, name, field);
}

std::uint32_t IntegerCode(const ORVQVTValue& control) {
  return static_cast<std::uint32_t>(control.ToLong());
}

}  // namespace

void KELAPOIntelDSP_Utils::SetDbValue(const std::string& name, const ControlValueMap& map,
                                      std::int16_t& field, float scale, int integer_bits) {
  StoreDecibels(name, map, field, scale, integer_bits);
}

void KELAPOIntelDSP_Utils::SetDbValue(const std::string& name, const ControlValueMap& map,
                                      std::int32_t& field, float scale, int integer_bits) {
  StoreDecibels(name, map, field, scale, integer_bits);
}

void KELAPOIntelDSP_Utils::SetEVolHDLevelIntensity(const std::string& name,
                                                   const ControlValueMap& map, std::int32_t& field,
                                                   float scale, int integer_bits) {
  double linear = 0;
  if (const auto companion = CompanionFloat(name, map)) {
    linear = *companion;
  } else {
    const std::int32_t value =
        RequireControl(name, map, "SetDbValue() failed, can't find value in control list.")
            .ToLong();
    linear = value < 0 ? LinearGain(value, scale) : static_cast<float>(value) / 100.0F;
  }
  field = ToFixed32(linear, integer_bits);
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetEVolHDLevelIntensity"), name, field);
}

void KELAPOIntelDSP_Utils::SetVocaliftProcessGain(const std::string& name,
                                                  const ControlValueMap& map, std::uint32_t& field,
                                                  float scale) {
  const LinearValue value = ReadDecibels(name, map, scale);
  const double steps = value.linear * kProcessGainStep;
  // What no 32-bit word holds becomes a word that no range admits.
  constexpr std::uint32_t kNoWord = 0x80000000U;
  const bool fits = steps > -2147483649.0 && steps < 4294967296.0;
  field = fits ? static_cast<std::uint32_t>(static_cast<std::int64_t>(steps)) : kNoWord;
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetVocaliftProcessGain"), L"%s = %f (.1dB) = 0x%x\n",
           name, value.read, field);
}

void KELAPOIntelDSP_Utils::SetPercentValue(const std::string& name, const ControlValueMap& map,
                                           std::int16_t& field, int integer_bits) {
  const std::int32_t percent = RequireControl(name, map, "Can't find int value.").ToLong();
  field = ToFixed16(static_cast<float>(percent) / 100.0F, integer_bits);
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetPercentValue"), name, field);
}

void KELAPOIntelDSP_Utils::SetFloatValue(const std::string& name, const ControlValueMap& map,
                                         float& field, float divisor) {
  const std::int32_t value = RequireControl(name, map, "Can't find float value.").ToLong();
  field = static_cast<float>(value) / divisor;
  std::uint32_t bits = 0;
  std::memcpy(&bits, &field, sizeof bits);
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetFloatValue"), L"%s = %f (0x%x)\n", name,
           static_cast<double>(field), bits);
}

bool KELAPOIntelDSP_Utils::SetGainValue_Float(const std::string& name, const ControlValueMap& map,
                                              std::int16_t& field, float multiplier) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetGainValue_Float");
  const ORVQVTValue* control = FindControl(name, map);
  if (control == nullptr) {
    Diagnose(site, L"Warning: can't find gain value for [%s]\n", name);
    return false;
  }
  const float scaled = control->ToFloat() * multiplier;
  field = static_cast<std::int16_t>(scaled == scaled ? std::clamp(scaled, -32768.0F, 32767.0F) : 0);
  Diagnose(site, L"OK: %s = %d (0x%x)\n", name, static_cast<int>(field), static_cast<int>(field));
  return true;
}

void KELAPOIntelDSP_Utils::SetIntegerValue(const std::string& name, const ControlValueMap& map,
                                           std::int32_t& field) {
  field = RequireControl(name, map, "Can't find integer value.").ToLong();
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetIntegerValue"), name, field);
}

void KELAPOIntelDSP_Utils::SetBoolField(const std::string& name, const ControlValueMap& map,
                                        std::uint32_t& field) {
  const ORVQVTValue* control = FindControl(name, map);
  if (control == nullptr) throw IntelException(name, "Can't find bool control: " + name);
  const std::string text = control->ToString();
  Diagnose(ORV_HERE("KELAPOIntelDSP_Utils::SetBoolField"), L"%s = %s\n", name, text);
  const std::int32_t value = control->ToLong();  // takes "Enabled" and "Disabled" as well
  if (value != 0 && value != 1)
    throw IntelException(name, "Illegal bool value: " + name + " = " + text);
  field = static_cast<std::uint32_t>(value);
}

void KELAPOIntelDSP_Utils::SetORV3DMode(const std::string& name, const ControlValueMap& map,
                                        std::uint32_t& field) {
  LookupOrFallBack(ORV_HERE("KELAPOIntelDSP_Utils::SetORV3DMode"), name, map, ORV3DModeTable(),
                   field, L"Processing ORV3DMode contrains Long Values error: %s\n", IntegerCode);
}

void KELAPOIntelDSP_Utils::SetDPHDMode(const std::string& name, const ControlValueMap& map,
                                       std::uint32_t& field) {
  LookupOrFallBack(ORV_HERE("KELAPOIntelDSP_Utils::SetDPHDMode"), name, map, DPHDModeTable(), field,
                   L"Processing DPHD Mode contrains Long Values error: %s\n", IntegerCode);
}

void KELAPOIntelDSP_Utils::SetMXHPDecoderMode(const std::string& name, const ControlValueMap& map,
                                              std::uint32_t& field) {
  const auto cinema_or_music = [](const ORVQVTValue& control) {
    return control.ToLong() != 0 ? 4U : 1U;
  };
  LookupOrFallBack(ORV_HERE("KELAPOIntelDSP_Utils::SetMXHPDecoderMode"), name, map,
                   MXDecoderModeTable(), field, L"Processing MXHP Mode contrains error: %s\n",
                   cinema_or_music);
}

void KELAPOIntelDSP_Utils::SetAMHDSpaceHPF(const std::string& name, const ControlValueMap& map,
                                           std::uint32_t& field) {
  LookupOrFallBack(ORV_HERE("KELAPOIntelDSP_Utils::SetAMHDSpaceHPF"), name, map,
                   SpaceHPFCutoffTable(), field,
                   L"Processing ORVSpaceHPFCutton Freq contrains Long Values error: %s\n",
                   [](const ORVQVTValue&) { return kCustomSizeCode; });
}

void KELAPOIntelDSP_Utils::SetDPSizeStr(const std::string& name, const ControlValueMap& map,
                                        std::uint32_t& field) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetDPSizeStr");
  try {
    const std::string text = GetControlText(name, map);
    if (text.size() < kShortestName) {
      SetDPSizeHz(name, map, field);
    } else {
      const auto found = SpeakerSizeTable().find(text);
      if (found == SpeakerSizeTable().end())
        throw IntelException(name, "Can't get DP speaker size");
      field = found->second;
    }
  } catch (const IntelException& error) {
    Diagnose(site, L"%s\n", error.what());
    if (FindControl(name, map) == nullptr) throw IntelException(name, "Can't find enum value.");
    field = kCustomSizeCode;
  }
  ReportStored(site, name, field);
}

void KELAPOIntelDSP_Utils::SetDPSizeHz(const std::string& name, const ControlValueMap& map,
                                       std::uint32_t& field) {
  const std::int32_t hertz = RequireControl(name, map, "Can't get DP speaker size").ToLong();
  const auto found = std::find(kSpeakerSizes.begin(), kSpeakerSizes.end(), hertz);
  if (found == kSpeakerSizes.end()) throw IntelException(name, "Invalid Punchbass size specified.");
  field = static_cast<std::uint32_t>(found - kSpeakerSizes.begin());
}

void KELAPOIntelDSP_Utils::SetMainTechStr_VQ3D(const std::string& name, const ControlValueMap& map,
                                               std::uint32_t& field) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetMainTechStr_VQ3D");
  const std::string text = GetControlText(name, map);
  if (text.size() < kShortestName) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    int number = 0;
    stream >> number;  // 0 if the text is not a number
    field = static_cast<std::uint32_t>(number);
  } else {
    const auto found = MainTechTable().find(text);
    if (found == MainTechTable().end()) {
      const IntelException error(name, "Main tech index not found: " + text);
      Diagnose(site, L"Error: %s\n", error.what());
      return;
    }
    field = found->second;
  }
  ReportStored(site, name, field);
}

void KELAPOIntelDSP_Utils::SetFilterTypeStr_VQ3D(const std::string& name,
                                                 const ControlValueMap& map, std::uint32_t& field) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetFilterTypeStr_VQ3D");
  const std::string text = GetControlText(name, map);
  if (text.size() < kShortestName) return;
  const auto found = FilterTypeTable().find(text);
  if (found == FilterTypeTable().end()) {
    const IntelException error(name, "Cannot find valid [VQ3D-Custom Filter Type] value.");
    Diagnose(site, L"Error processing [VQ3D-Custom Filter Type]: %s\n", error.what());
    return;
  }
  field = found->second;
  ReportStored(site, name, field);
}

void KELAPOIntelDSP_Utils::SetAMHDInputModeStr(const std::string& name, const ControlValueMap& map,
                                               std::uint32_t& field) {
  const std::string text = GetControlText(name, map);
  if (text.size() >= kShortestName) return SetAMHDInputMode(text, map, field);
  const int index = std::stoi(text);
  if (index < 0 || static_cast<std::size_t>(index) >= kChannelMasks.size())
    throw IntelException(name, "Channel configuration index out of range: " + text);
  field = kChannelMasks[static_cast<std::size_t>(index)];
  ReportStored(ORV_HERE("KELAPOIntelDSP_Utils::SetAMHDInputModeStr"), name, field);
}

void KELAPOIntelDSP_Utils::SetAMHDInputMode(const std::string& text, const ControlValueMap&,
                                            std::uint32_t& field) {
  const DiagnosticSite site = ORV_HERE("KELAPOIntelDSP_Utils::SetAMHDInputMode");
  const auto found = ChannelConfigTable().find(text);
  if (found == ChannelConfigTable().end()) {
    const IntelException error(text, "Cannot find in mapping table");
    Diagnose(site, L"error: %s\n", error.what());
    return;
  }
  field = found->second;
  ReportStored(site, text, field);
}

std::string KELAPOIntelDSP_Utils::GetControlText(const std::string& name,
                                                 const ControlValueMap& map) {
  return RequireControl(name, map, "Can't find control in value map.").ToString();
}

void KELAPOIntelDSP_Utils::LookupEnumValue(const std::string& name, const ControlValueMap& map,
                                           const EnumTable& table, std::uint32_t& field) {
  const std::string text = RequireControl(name, map, "Can't find enum value.").ToString();
  const auto found = table.find(text);
  if (found == table.end()) throw IntelException(name, "Specified enum is invalid.");
  field = found->second;
}

}  // namespace orv
