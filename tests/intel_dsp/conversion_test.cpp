// One control, one field.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fake_skylake_driver.h"
#include "intel_dsp/conversion/enumeration_tables.h"

namespace orv {
namespace {

using Utils = KELAPOIntelDSP_Utils;

const std::string kName = "VQ3D-Control";

template <class Value>
ControlValueMap One(const Value& value, const std::string& name = kName) {
  ControlValueMap map;
  Put(map, name, value);
  return map;
}

template <class Convert>
std::string Complaint(Convert convert) {
  try {
    convert();
  } catch (const IntelException& error) {
    return error.what();
  }
  return "none";
}

std::int16_t Decibels(const ControlValueMap& map, int integer_bits) {
  std::int16_t field = 77;
  Utils::SetDbValue(kName, map, field, 10.0F, integer_bits);
  return field;
}

TEST(Converters, DecibelsBecomeFixedPoint) {
  EXPECT_EQ(Decibels(One(-60), 1), 16423);
  EXPECT_EQ(Decibels(One(0), 1), 32767);  // 1.0 does not fit
  EXPECT_EQ(Decibels(One(60), 1), 32767);
  EXPECT_EQ(Decibels(One(std::numeric_limits<int>::max()), 4), 32767);
  EXPECT_EQ(Decibels(One(std::numeric_limits<int>::min()), 4), 0);
  for (int tenths = -900; tenths <= 180; ++tenths) {
    const double exact = std::pow(10.0, tenths / 200.0) * 4096;
    EXPECT_NEAR(Decibels(One(tenths), 4), std::min(exact, 32767.0), 0.51) << tenths;
  }
  std::int32_t wide = 0;
  Utils::SetDbValue(kName, One(-200), wide, 10.0F, 6);
  EXPECT_EQ(wide, static_cast<std::int32_t>(std::lround(0.1F * 67108864.0)));
}

TEST(Converters, CompanionFloatIsLinearAndComesFirst) {
  ControlValueMap map = One(-60);
  const std::pair<const char*, int> texts[] = {
      {" +1.5e0 dB", 24576}, {"-0.5", -8192},  {"loud", 0},        {"", 0},       {"nan", 0},
      {"inf", 32767},        {"1e999", 32767}, {"-1e999", -32768}, {"1e-999", 0}, {"+-1", 0}};
  for (const auto& [text, expected] : texts) {
    Put(map, kName + " Float", text);
    EXPECT_EQ(Decibels(map, 2), expected) << text;
  }
  EXPECT_EQ(Decibels(One("0.25", kName + " Float"), 2), 4096);  // alone
}

TEST(Converters, ProcessGainIsTruncatedAndNeverWrapsIntoItsRange) {
  std::uint32_t field = 77;
  const auto linear = [&](const char* text) {
    Utils::SetVocaliftProcessGain(kName, One(text, kName + " Float"), field, 10.0F);
    return field;
  };
  EXPECT_EQ(linear("0.9999999999"), 0x1FFFFFFFU);
  for (const char* text : {"9", "-5", "nan", "inf", "1e300"})
    EXPECT_GT(linear(text), 0x60000000U) << text;
}

TEST(Converters, PlainNumbers) {
  std::int32_t intensity = 77;  // percent above 0, decibels below
  Utils::SetEVolHDLevelIntensity(kName, One(50), intensity, 10.0F, 1);
  EXPECT_EQ(intensity, 0x40000000);
  Utils::SetEVolHDLevelIntensity(kName, One(-200), intensity, 10.0F, 1);
  EXPECT_EQ(intensity, std::lround(0.1F * 2147483648.0));
  std::int16_t level = 7;
  Utils::SetPercentValue(kName, One(33), level, 1);
  EXPECT_EQ(level, 10813);
  Utils::SetPercentValue(kName, One(-300), level, 1);
  EXPECT_EQ(level, -32768);
  float real = 7;
  Utils::SetFloatValue(kName, One(5), real, 2.0F);
  EXPECT_EQ(real, 2.5F);
  std::int16_t gain = 7;
  EXPECT_TRUE(Utils::SetGainValue_Float(kName, One("-0.75"), gain, 4096.0F));
  EXPECT_EQ(gain, -3072);
  EXPECT_FALSE(Utils::SetGainValue_Float(kName, {}, gain, 4096.0F));
  EXPECT_EQ(gain, -3072);
}

TEST(Converters, SwitchesAreOnOrOff) {
  std::uint32_t field = 7;
  const std::pair<const char*, std::uint32_t> texts[] = {
      {"Enabled", 1}, {"Disabled", 0}, {"1", 1}, {"0", 0}, {"1.0", 1}};
  for (const auto& [text, expected] : texts) {
    Utils::SetBoolField(kName, One(text), field);
    EXPECT_EQ(field, expected) << text;
  }
  EXPECT_EQ(Complaint([&] { Utils::SetBoolField(kName, One(2), field); }),
            kName + " - Illegal bool value: " + kName + " = 2");
}

TEST(Converters, MissingControlsAreNamed) {
  std::int16_t level = 77;
  std::uint32_t code = 77;
  float real = 77;
  EXPECT_EQ(Complaint([&] { Decibels({}, 1); }), kName + " - Can't find dB value");
  EXPECT_EQ(Complaint([&] { Utils::SetPercentValue(kName, {}, level, 1); }),
            kName + " - Can't find int value.");
  EXPECT_EQ(Complaint([&] { Utils::SetFloatValue(kName, {}, real, 1); }),
            kName + " - Can't find float value.");
  EXPECT_EQ(Complaint([&] { Utils::SetBoolField(kName, {}, code); }),
            kName + " - Can't find bool control: " + kName);
  for (const auto convert : {Utils::SetORV3DMode, Utils::SetDPHDMode, Utils::SetMXHPDecoderMode,
                             Utils::SetAMHDSpaceHPF, Utils::SetDPSizeStr}) {
    EXPECT_EQ(Complaint([&] { convert(kName, {}, code); }), kName + " - Can't find enum value.");
    EXPECT_EQ(code, 77U);
  }
}

using CodeConverter = void (*)(const std::string&, const ControlValueMap&, std::uint32_t&);

TEST(Converters, TextsAndNumbersSelectCodes) {
  constexpr std::uint32_t kKept = 77;
  const std::tuple<CodeConverter, const char*, std::uint32_t> rows[] = {
      {Utils::SetORV3DMode, "ZENSND-Single Speaker", 1},
      {Utils::SetORV3DMode, "6", 6},
      {Utils::SetDPHDMode, "VQ3D-DPHD Stereo", 1},
      {Utils::SetDPHDMode, "Surround", 0xFFFFFFFF},
      {Utils::SetMXHPDecoderMode, "ORV_MXD_MUSIC", 4},
      {Utils::SetMXHPDecoderMode, "0", 1},
      {Utils::SetMXHPDecoderMode, "7", 4},
      {Utils::SetAMHDSpaceHPF, "240", 3},
      {Utils::SetAMHDSpaceHPF, "123", 9},
      {Utils::SetDPSizeStr, "150", 4},
      {Utils::SetDPSizeStr, "50", 9},
      {Utils::SetDPSizeStr, "", 9},
      {Utils::SetDPSizeStr, "VQ3D-250Hz", 6},
      {Utils::SetMainTechStr_VQ3D, "3", 3},
      {Utils::SetMainTechStr_VQ3D, "VQ3D-WIDHDX", 1},
      {Utils::SetMainTechStr_VQ3D, "xyz", 0},
      {Utils::SetMainTechStr_VQ3D, "VQ3D-XYZ", kKept},
      {Utils::SetFilterTypeStr_VQ3D, "HpfB", 6},
      {Utils::SetFilterTypeStr_VQ3D, "3", kKept},
      {Utils::SetFilterTypeStr_VQ3D, "Fir999", kKept},
      {Utils::SetAMHDInputModeStr, "20", 2111},
      {Utils::SetAMHDInputModeStr, "ZENSND-Headphone", 515},
      {Utils::SetAMHDInputModeStr, "9_9_9", kKept}};
  for (const auto& [convert, text, code] : rows) {
    std::uint32_t field = kKept;
    convert(kName, One(text), field);
    EXPECT_EQ(field, code) << text;
  }
  std::uint32_t field = kKept;
  for (const char* text : {"21", "-1"})
    EXPECT_THROW(Utils::SetAMHDInputModeStr(kName, One(text), field), IntelException);
  for (const char* text : {"abc", ""})
    EXPECT_THROW(Utils::SetAMHDInputModeStr(kName, One(text), field), std::invalid_argument);
  EXPECT_EQ(field, kKept);
}

// "3_2_1": three front, two surround and a low-frequency channel; "VQ3D-40Hz": 40 Hz.
TEST(EnumerationTables, CodesMeanWhatTheirTextsSay) {
  EXPECT_EQ(ChannelConfigTable().size(), 63U);
  for (const auto& [text, mask] : ChannelConfigTable()) {
    const std::string config = text.substr(text.find('-') + 1);
    if (config[1] != '_') continue;
    const unsigned surround[] = {0, 0x40, 0x30, 0x70};
    const unsigned front = (1U << (config[0] - '0')) - 1;
    EXPECT_EQ(mask, front | surround[config[2] - '0'] | (config[4] == '1' ? 8U : 0U)) << text;
  }
  for (const auto& [table, frequencies] : {std::pair{SpeakerSizeTable(), kSpeakerSizes},
                                           std::pair{SpaceHPFCutoffTable(), kSpaceCutoffs}}) {
    EXPECT_EQ(table.size(), 31U);
    for (const auto& [text, code] : table) {
      const bool custom = text.find("ustom") != text.npos || text.ends_with("CUSTOM");
      EXPECT_EQ(code == kCustomSizeCode, custom) << text;
      if (custom) continue;
      const std::size_t last = text.find_last_of("0123456789");
      const std::size_t first = text.find_last_not_of("0123456789", last) + 1;
      EXPECT_EQ(std::stoi(text.substr(first)), frequencies.at(code)) << text;
    }
  }
  const char* const techs[] = {"N", "WIDHD", "AMHD", "PX3D", "MXHP", "DPHD"};
  for (const auto& [text, code] : MainTechTable())
    EXPECT_NE(text.find(techs[code], text.find_last_of("-_")), text.npos) << text;
}

}  // namespace
}  // namespace orv
