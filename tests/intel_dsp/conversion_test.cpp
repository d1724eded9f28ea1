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

// What a converter makes of one row: the number, or the text of its exception.
using Converter = std::function<json(const json& row, const ControlValueMap& map)>;

// The number after `convert`, in the width of its field; an exception leaves it alone.
template <class Word>
json Fill(const json& row, const std::function<void(std::int64_t&)>& convert) {
  const std::int64_t before = row.value("field", 77);
  std::int64_t number = before;
  try {
    convert(number);
  } catch (const IntelException& error) {
    EXPECT_EQ(number, before);
    return error.what();
  }
  return static_cast<Word>(number);
}

template <class Word, class Function, class... Keys>
Converter With(Function function, Keys... keys) {
  return [=](const json& row, const ControlValueMap& map) {
    return Fill<Word>(row, [&](std::int64_t& number) {
      function(Utils::Control{row.at("control"), map}, number, row.at(keys)...);
    });
  };
}
template <class Word>
Converter Decibels() {
  return [](const json& row, const ControlValueMap& map) {
    return Fill<Word>(row, [&](std::int64_t& number) {
      Utils::SetDbValue({row.at("control"), map}, number, 8 * sizeof(Word), row.at("integer_bits"),
                        row.at("scale"));
    });
  };
}
Converter Code(void (*function)(const Utils::Control&, std::int64_t&)) {
  return With<std::uint32_t>(function);
}
Converter Level(const Block& block, std::size_t offset) {
  return [&block, offset](const json& row, const ControlValueMap& map) {
    return Fill<std::int16_t>(row, [&](std::int64_t& level) {
      BlockBytes bytes{};
      for (const Field& field : block.fields)
        if (field.offset == offset) FillField(field, map, bytes);
      level = ReadField(bytes, offset, FieldType::I16);
    });
  };
}

const std::map<std::string, Converter>& Converters() {
  const auto gain = [](const json& row, const ControlValueMap& map) {
    return Fill<std::int16_t>(row, [&](std::int64_t& number) {
      EXPECT_EQ(Utils::SetGainValue_Float({row.at("control"), map}, number, row.at("multiplier")),
                row.value("found", true));
    });
  };
  const auto quotient = [](const json& row, const ControlValueMap& map) -> json {
    float field = 77;
    try {
      Utils::SetFloatValue({row.at("control"), map}, field, row.at("divisor"));
    } catch (const IntelException& error) {
      EXPECT_EQ(field, 77);
      return error.what();
    }
    return field;
  };
  static const std::map<std::string, Converter> converters = {
      {"SetDbValue16", Decibels<std::int16_t>()},
      {"SetDbValue32", Decibels<std::int32_t>()},
      {"SetEVolHDLevelIntensity",
       With<std::int32_t>(Utils::SetEVolHDLevelIntensity, "integer_bits")},
      {"SetVocaliftProcessGain", Code(Utils::SetVocaliftProcessGain)},
      {"SetPercentValue", With<std::int16_t>(Utils::SetPercentValue, "integer_bits")},
      {"SetFloatValue", quotient},
      {"SetGainValue_Float", gain},
      {"SetIntegerValue", With<std::int32_t>(Utils::SetIntegerValue)},
      {"SetBoolField", Code(Utils::SetBoolField)},
      {"SetORV3DMode", Code(Utils::SetORV3DMode)},
      {"SetDPHDMode", Code(Utils::SetDPHDMode)},
      {"SetMXHPDecoderMode", Code(Utils::SetMXHPDecoderMode)},
      {"SetAMHDSpaceHPF", Code(Utils::SetAMHDSpaceHPF)},
      {"SetDPSizeStr", Code(Utils::SetDPSizeStr)},
      {"SetMainTechStr_VQ3D", Code(Utils::SetMainTechStr_VQ3D)},
      {"SetFilterTypeStr_VQ3D", Code(Utils::SetFilterTypeStr_VQ3D)},
      {"SetAMHDInputModeStr", Code(Utils::SetAMHDInputModeStr)},
      {"bass_level", Level(BlockOf(kCommon), 4)},
      {"definition_level", Level(BlockOf(kCommon), 36)},
      {"dialogue_level", Level(BlockOf(kPX3D), 4)}};
  return converters;
}

TEST(Converters, FillFieldsAsTheReferenceDoes) {
  const json& data = ReferenceData("conversions.json");
  std::size_t covered = 0;
  for (const json& row : data.at("cases")) {
    const std::string function = row.at("function");
    const auto converter = Converters().find(function);
    if (converter == Converters().end()) continue;  // of other tests, or not needed here
    ++covered;
    const json result = converter->second(row, MapOf(row.value("controls", json::object())));
    const json& expected = row.contains("error") ? row.at("error") : row.at("expected");
    if (expected.is_number() && result.is_number())
      EXPECT_LE(std::abs(result.get<double>() - expected.get<double>()), row.value("tol_lsb", 0))
          << row << result;
    else
      EXPECT_EQ(result, expected) << row;
  }
  EXPECT_EQ(covered, 227U);
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
    std::int64_t number = 77;
    Utils::SetVocaliftProcessGain({"Gain", MapOf({{"Gain Float", text}})}, number);
    EXPECT_GT(number, 0x60000000) << text;
  }
}

TEST(Converters, NumbersTooSmallForTheirTypeAreZero) {
  std::int64_t number = 77;
  Utils::SetDbValue({"Gain", MapOf({{"Gain", "9"}, {"Gain Float", "1e-999"}})}, number, 16, 2);
  EXPECT_EQ(number, 0);
}

TEST(Converters, InputModeIndexIsChecked) {
  std::int64_t number = 77;
  const auto set = [&](const char* text) {
    Utils::SetAMHDInputModeStr({"Mode", MapOf({{"Mode", text}})}, number);
  };
  for (const char* text : {"21", "-1"}) EXPECT_THROW(set(text), IntelException) << text;
  for (const char* text : {"abc", ""}) EXPECT_THROW(set(text), std::invalid_argument) << text;
  EXPECT_EQ(number, 77);
}

}  // namespace
}  // namespace orv
