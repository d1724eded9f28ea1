#include "intel_dsp/fields.h"

#include <fmt/format.h>

#include "intel_dsp/conversion/enumeration_tables.h"

namespace orv::intel {
namespace {

using records::Conversion;
using records::Field;
using Utils = KELAPOIntelDSP_Utils;

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
  const Utils::Control control{replaced ? field.fallback : field.control, map};
  std::int64_t number = field.Read(block);
  switch (field.conversion) {
    case Conversion::Bool:
      Utils::SetBoolField(control, number);
      break;
    case Conversion::Decibels:
      Utils::SetDbValue(control, number, field.bits(), field.integer_bits);
      break;
    case Conversion::ProcessGain:
      Utils::SetVocaliftProcessGain(control, number);
      break;
    case Conversion::Percent:
      Utils::SetPercentValue(control, number, field.integer_bits);
      break;
    case Conversion::LevelIntensity:
      Utils::SetEVolHDLevelIntensity(control, number, field.integer_bits);
      break;
    case Conversion::Integer:
      Utils::SetIntegerValue(control, number);
      break;
    case Conversion::SpeakerSize:
      Utils::SetDPSizeStr(control, number);
      break;
    case Conversion::SpaceCutoff:
      Utils::SetAMHDSpaceHPF(control, number);
      break;
    case Conversion::DPHDMode:
      Utils::SetDPHDMode(control, number);
      break;
    case Conversion::ORV3DMode:
      Utils::SetORV3DMode(control, number);
      break;
    case Conversion::InputMode:
      Utils::SetAMHDInputModeStr(control, number);
      break;
    case Conversion::DecoderMode:
      Utils::SetMXHPDecoderMode(control, number);
      break;
    default:
      break;
  }
  field.Store(block, number);
}

std::vector<DecodedField> DecodeFields(std::span<const Field> fields,
                                       std::span<const std::byte> block) {
  constexpr records::TextStyle kStyle = {1, "-inf dB", nullptr, ChoiceText};
  std::vector<DecodedField> decoded;
  for (const Field& field : fields) records::DecodeField(field, block, kStyle, decoded);
  return decoded;
}

}  // namespace orv::intel
