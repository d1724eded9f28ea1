#include "intel_dsp/broadwell/parameter_blocks.h"

namespace orv::broadwell {
namespace {

using Utils = KELAPOIntelDSP_Utils;

constexpr float kTenthsOfDecibel = 10.0F;

// Hands the field to a converter as a variable of its own type, then stores it.
template <class Value, class Converter>
void Fill(const Field& field, std::span<std::byte> block, Converter convert) {
  auto value = static_cast<Value>(ReadField(block, field.offset, field.type));
  convert(value);
  StoreField(block, field.offset, field.type, value);
}

void FillChoice(const Field& field, const std::string& control, const ControlValueMap& map,
                std::uint32_t& value) {
  switch (field.conversion) {
    case Conversion::InputMode:
      return Utils::SetAMHDInputModeStr(control, map, value);
    case Conversion::SpaceCutoff:
      return Utils::SetAMHDSpaceHPF(control, map, value);
    case Conversion::SpeakerSize:
      return Utils::SetDPSizeStr(control, map, value);
    case Conversion::ORV3DMode:
      return Utils::SetORV3DMode(control, map, value);
    case Conversion::DPHDMode:
      return Utils::SetDPHDMode(control, map, value);
    default:
      return Utils::SetBoolField(control, map, value);
  }
}

}  // namespace

FieldPlace FindField(const std::string& control) {
  for (const Block& block : kBlocks) {
    for (const Field& field : block.fields) {
      if (field.conversion != Conversion::Reserved && control == field.control)
        return {&block, &field};
    }
  }
  return {};
}

bool HasControl(const Field& field, const ControlValueMap& map) {
  return field.conversion == Conversion::Reserved || map.contains(field.control) ||
         (field.fallback != nullptr && map.contains(field.fallback)) ||
         (field.conversion == Conversion::Decibels &&
          map.contains(std::string(field.control) + " Float"));
}

void FillField(const Field& field, const ControlValueMap& map, std::span<std::byte> block) {
  const bool replaced = field.fallback != nullptr && !map.contains(field.control);
  const std::string control = replaced ? field.fallback : field.control;
  switch (field.conversion) {
    case Conversion::Reserved:
      return;
    case Conversion::Decibels:
      if (field.type == FieldType::I32) {
        return Fill<std::int32_t>(field, block, [&](std::int32_t& value) {
          Utils::SetDbValue(control, map, value, kTenthsOfDecibel, field.integer_bits);
        });
      }
      return Fill<std::int16_t>(field, block, [&](std::int16_t& value) {
        Utils::SetDbValue(control, map, value, kTenthsOfDecibel, field.integer_bits);
      });
    case Conversion::Percent:
      return Fill<std::int16_t>(field, block, [&](std::int16_t& value) {
        Utils::SetPercentValue(control, map, value, field.integer_bits);
      });
    case Conversion::Integer:
      return Fill<std::int32_t>(
          field, block, [&](std::int32_t& value) { Utils::SetIntegerValue(control, map, value); });
    case Conversion::LevelIntensity:
      return Fill<std::int32_t>(field, block, [&](std::int32_t& value) {
        Utils::SetEVolHDLevelIntensity(control, map, value, kTenthsOfDecibel, field.integer_bits);
      });
    default:
      return Fill<std::uint32_t>(
          field, block, [&](std::uint32_t& value) { FillChoice(field, control, map, value); });
  }
}

}  // namespace orv::broadwell
