// One control, one field: converters, derived levels and tables against an independent
// implementation (tests/data/README.md).
#include <gtest/gtest.h>

#include <functional>

#include "control_map.h"
#include "intel_dsp/conversion/enumeration_tables.h"
#include "intel_dsp/skylake/blocks.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using namespace skylake;

using nlohmann::json;
using Utils = KELAPOIntelDSP_Utils;

// What a converter makes of one row: the field, or the text of its exception.
using Converter = std::function<json(const json& row, const ControlValueMap& map)>;

// A field that holds what the row says, after `convert`; an exception leaves it alone.
template <class Field, class Convert>
json Fill(const json& row, Convert convert) {
  Field before{};
  if constexpr (std::is_arithmetic_v<Field>) before = row.value("field", Field{77});
  Field field = before;
  try {
    convert(field);
  } catch (const IntelException& error) {
    EXPECT_EQ(field, before);
    return error.what();
  }
  return field;
}

template <class Field, class Function, class... Keys>
Converter With(Function function, Keys... keys) {
  return [=](const json& row, const ControlValueMap& map) {
    return Fill<Field>(
        row, [&](Field& field) { function(row.at("control"), map, field, row.at(keys)...); });
  };
}
Converter Code(void (*function)(const std::string&, const ControlValueMap&, std::uint32_t&)) {
  return With<std::uint32_t>(function);
}
Converter Level(const Block& block, std::size_t offset) {
  return [&block, offset](const json& row, const ControlValueMap& map) {
    return Fill<std::int64_t>(row, [&](std::int64_t& level) {
      BlockBytes bytes{};
      for (const Field& field : block.fields)
        if (field.offset == offset) ConvertField(field, map, bytes);
      level = ReadField(bytes, offset, FieldType::I16);
    });
  };
}

const std::map<std::string, Converter>& Converters() {
  using Int16 = std::int16_t;
  using Int32 = std::int32_t;
  const auto decibels = [](const std::string& name, const ControlValueMap& map, auto& field,
                           float scale,
                           int bits) { Utils::SetDbValue(name, map, field, scale, bits); };
  const auto gain = [](const json& row, const ControlValueMap& map) {
    return Fill<Int16>(row, [&](Int16& field) {
      EXPECT_EQ(Utils::SetGainValue_Float(row.at("control"), map, field, row.at("multiplier")),
                row.value("found", true));
    });
  };
  const auto text = [](const json& row, const ControlValueMap& map) {
    return Fill<std::string>(
        row, [&](std::string& field) { field = Utils::GetControlText(row.at("control"), map); });
  };
  static const std::map<std::string, Converter> converters = {
      {"SetDbValue16", With<Int16>(decibels, "scale", "integer_bits")},
      {"SetDbValue32", With<Int32>(decibels, "scale", "integer_bits")},
      {"SetEVolHDLevelIntensity",
       With<Int32>(Utils::SetEVolHDLevelIntensity, "scale", "integer_bits")},
      {"SetVocaliftProcessGain", With<std::uint32_t>(Utils::SetVocaliftProcessGain, "scale")},
      {"SetPercentValue", With<Int16>(Utils::SetPercentValue, "integer_bits")},
      {"SetFloatValue", With<float>(Utils::SetFloatValue, "divisor")},
      {"SetGainValue_Float", gain},
      {"SetIntegerValue", With<Int32>(Utils::SetIntegerValue)},
      {"SetBoolField", Code(Utils::SetBoolField)},
      {"SetORV3DMode", Code(Utils::SetORV3DMode)},
      {"SetDPHDMode", Code(Utils::SetDPHDMode)},
      {"SetMXHPDecoderMode", Code(Utils::SetMXHPDecoderMode)},
      {"SetAMHDSpaceHPF", Code(Utils::SetAMHDSpaceHPF)},
      {"SetDPSizeStr", Code(Utils::SetDPSizeStr)},
      {"SetMainTechStr_VQ3D", Code(Utils::SetMainTechStr_VQ3D)},
      {"SetFilterTypeStr_VQ3D", Code(Utils::SetFilterTypeStr_VQ3D)},
      {"SetAMHDInputModeStr", Code(Utils::SetAMHDInputModeStr)},
      {"SetAMHDInputMode", Code(Utils::SetAMHDInputMode)},
      {"GetControlText", text},
      {"bass_level", Level(BlockOf(kCommon), 4)},
      {"definition_level", Level(BlockOf(kCommon), 36)},
      {"dialogue_level", Level(BlockOf(kPX3D), 4)}};
  return converters;
}

TEST(Converters, FillFieldsAsTheReferenceDoes) {
  const json& data = ReferenceData("conversions.json");
  for (const json& row : data.at("cases")) {
    const std::string function = row.at("function");
    const auto converter = Converters().find(function);
    if (converter == Converters().end()) {  // the DSP of another vendor; a driver's request
      EXPECT_TRUE(function.find("_q") != function.npos || function == "band_gain") << function;
      continue;
    }
    const json result = converter->second(row, MapOf(row.value("controls", json::object())));
    const json& expected = row.contains("error") ? row.at("error") : row.at("expected");
    if (expected.is_number() && result.is_number())
      EXPECT_LE(std::abs(result.get<double>() - expected.get<double>()), row.value("tol_lsb", 0))
          << row << result;
    else
      EXPECT_EQ(result, expected) << row;
  }
}

TEST(Converters, TablesHaveTheTextsOfTheReference) {
  const std::map<std::string, const EnumTable&> tables = {
      {"ChannelConfigTable", ChannelConfigTable()},
      {"ORV3DModeTable", ORV3DModeTable()},
      {"DPHDModeTable", DPHDModeTable()},
      {"MXDecoderModeTable", MXDecoderModeTable()},
      {"SpaceHPFCutoffTable", SpaceHPFCutoffTable()},
      {"SpeakerSizeTable", SpeakerSizeTable()},
      {"MainTechTable", MainTechTable()},
      {"FilterTypeTable", FilterTypeTable()}};
  const json& data = ReferenceData("conversions.json");
  for (const json& row : data.at("tables"))
    EXPECT_EQ(tables.at(row.at("table")), row.at("entries").get<EnumTable>()) << row;
}

TEST(Converters, ProcessGainNeverWrapsIntoItsRange) {
  for (const char* text : {"9", "-5", "1e300"}) {
    std::uint32_t field = 77;
    Utils::SetVocaliftProcessGain("Gain", MapOf({{"Gain Float", text}}), field, 10.0F);
    EXPECT_GT(field, 0x60000000U) << text;
  }
}

TEST(Converters, NumbersTooSmallForTheirTypeAreZero) {
  std::int16_t field = 77;
  Utils::SetDbValue("Gain", MapOf({{"Gain", "9"}, {"Gain Float", "1e-999"}}), field, 1.0F, 2);
  EXPECT_EQ(field, 0);
}

TEST(Converters, InputModeIndexIsChecked) {
  std::uint32_t field = 77;
  const auto set = [&](const char* text) {
    Utils::SetAMHDInputModeStr("Mode", MapOf({{"Mode", text}}), field);
  };
  for (const char* text : {"21", "-1"}) EXPECT_THROW(set(text), IntelException) << text;
  for (const char* text : {"abc", ""}) EXPECT_THROW(set(text), std::invalid_argument) << text;
  EXPECT_EQ(field, 77U);
}

}  // namespace
}  // namespace orv
