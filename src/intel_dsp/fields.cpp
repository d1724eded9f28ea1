#include "intel_dsp/fields.h"

#include <cmath>

#include "intel_dsp/conversion/enumeration_tables.h"
#include "records/number_text.h"

namespace orv::intel {
namespace {

using Utils = KELAPOIntelDSP_Utils;

constexpr int kRealDigits = 7;

// A linear gain: "-6.0 dB", "-inf dB"; "linear -0.5" if it is negative.
std::string DecibelText(double linear) {
  if (linear < 0) return "linear " + RealText(linear, kRealDigits);
  if (linear == 0) return "-inf dB";
  return DecimalText(20 * std::log10(linear), 1, 1) + " dB";
}

std::string CodeText(std::int64_t code) { return "code " + std::to_string(code); }

// A code as an index into frequencies in Hz, or the custom one: "150 Hz", "custom".
std::string FrequencyCodeText(std::int64_t code, std::span<const int> frequencies) {
  if (code == kCustomSizeCode) return "custom";
  if (code < 0 || code >= static_cast<std::int64_t>(frequencies.size())) return CodeText(code);
  return std::to_string(frequencies[static_cast<std::size_t>(code)]) + " Hz";
}

// The first of the names with this prefix for a code.
std::string ChoiceText(std::int64_t code, const EnumTable& names, const std::string& prefix) {
  for (const auto& [name, number] : names) {
    if (number == code && name.starts_with(prefix)) return name;
  }
  return CodeText(code);
}

// "VQ3D-" of "VQ3D-DPHD Mode".
std::string SuiteOf(const std::string& control) { return control.substr(0, control.find('-') + 1); }

std::string FieldText(const Field& field, std::int64_t value) {
  const int bits = static_cast<int>(8 * FieldWidth(field.type));
  const double real = std::ldexp(static_cast<double>(value), field.integer_bits - bits);
  const auto choice = [&](const EnumTable& names) {
    return ChoiceText(value, names, SuiteOf(field.control));
  };
  switch (field.conversion) {
    case Conversion::Bool:
    case Conversion::HeadphoneClarityEnable:
      return OnOffText(value);
    case Conversion::Decibels:
    case Conversion::ProcessGain:
    case Conversion::BandGain:
      return DecibelText(real);
    case Conversion::Percent:
    case Conversion::LevelIntensity:
    case Conversion::BassLevel:
    case Conversion::DefinitionLevel:
    case Conversion::ClarityLevel:
    case Conversion::FocusLevel:
    case Conversion::HeadphoneClarityLevel:
      return DecimalText(100 * real, 1, 0) + " %";
    case Conversion::SampleRate:
      return std::to_string(value) + " Hz";
    case Conversion::SpeakerSize:
      return FrequencyCodeText(value, kSpeakerSizes);
    case Conversion::SpaceCutoff:
      return FrequencyCodeText(value, kSpaceCutoffs);
    case Conversion::DPHDMode:
      return choice(DPHDModeTable());
    case Conversion::ORV3DMode:
      return choice(ORV3DModeTable());
    case Conversion::InputMode:
      return choice(ChannelConfigTable());
    case Conversion::DecoderMode:
      return choice(MXDecoderModeTable());
    case Conversion::MainTech:
      return choice(MainTechTable());
    case Conversion::Reserved:
    case Conversion::Integer:
      break;
  }
  return std::to_string(value);
}

}  // namespace

bool HasControl(const Field& field, const ControlValueMap& map) {
  return field.conversion == Conversion::Reserved || map.contains(field.control) ||
         (field.fallback != nullptr && map.contains(field.fallback)) ||
         (field.conversion == Conversion::Decibels &&
          map.contains(std::string(field.control) + " Float"));
}

void FillField(const Field& field, const ControlValueMap& map, std::span<std::byte> block) {
  const bool replaced = field.fallback != nullptr && !map.contains(field.control);
  const std::string control = replaced ? field.fallback : field.control;
  const auto fill =
      [&]<class Value>(void (*convert)(const std::string&, const ControlValueMap&, Value&)) {
        FillAs<Value>(field, block, [&](Value& value) { convert(control, map, value); });
      };
  const auto fill_decibels = [&](auto& value) {
    Utils::SetDbValue(control, map, value, kTenthsOfDecibel, field.integer_bits);
  };
  switch (field.conversion) {
    case Conversion::Bool:
      return fill(Utils::SetBoolField);
    case Conversion::Decibels:
      if (field.type == FieldType::I32) return FillAs<std::int32_t>(field, block, fill_decibels);
      return FillAs<std::int16_t>(field, block, fill_decibels);
    case Conversion::ProcessGain:
      return FillAs<std::uint32_t>(field, block, [&](std::uint32_t& value) {
        Utils::SetVocaliftProcessGain(control, map, value, kTenthsOfDecibel);
      });
    case Conversion::Percent:
      return FillAs<std::int16_t>(field, block, [&](std::int16_t& value) {
        Utils::SetPercentValue(control, map, value, field.integer_bits);
      });
    case Conversion::LevelIntensity:
      return FillAs<std::int32_t>(field, block, [&](std::int32_t& value) {
        Utils::SetEVolHDLevelIntensity(control, map, value, kTenthsOfDecibel, field.integer_bits);
      });
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
  std::vector<DecodedField> decoded;
  for (const Field& field : fields) {
    const std::int64_t value = ReadField(block, field.offset, field.type);
    decoded.push_back({field.offset, field.control, value, FieldText(field, value)});
  }
  return decoded;
}

}  // namespace orv::intel
