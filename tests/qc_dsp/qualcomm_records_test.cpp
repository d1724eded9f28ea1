// What the driver's records hold for a mode's controls, and how people read them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "../dsp_math/filter_reference.h"
#include "fake_driver.h"

namespace orv {
namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

Bytes Record(QualcommParameter parameter, const QualcommControls& controls) {
  const QualcommRecord record(parameter, controls);
  return {record.payload().begin(), record.payload().end()};
}

std::int64_t Field(QualcommParameter parameter, const QualcommControls& controls,
                   std::size_t offset, FieldType type) {
  return Number(Record(parameter, controls), offset, type);
}

// A record written down number by number.
class Expected {
 public:
  Expected& U8(std::int64_t value) { return Add(FieldType::U8, value); }
  Expected& I16(std::int64_t value) { return Add(FieldType::I16, value); }
  Expected& U32(std::int64_t value) { return Add(FieldType::U32, value); }
  template <class Values>
  Expected& Words(const Values& values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) Add(FieldType::I32, i < values.size() ? values[i] : 0);
    return *this;
  }
  const Bytes& bytes() const { return bytes_; }

 private:
  Expected& Add(FieldType type, std::int64_t value) {
    bytes_.resize(bytes_.size() + FieldWidth(type));
    StoreField(bytes_, bytes_.size() - FieldWidth(type), type, value);
    return *this;
  }
  Bytes bytes_;
};

std::int64_t GainWord(int decibels, int fraction_bits, std::int64_t top) {
  const long double word = std::ldexp(std::pow(10.0L, decibels / 20.0L), fraction_bits) + 0.5L;
  return word > static_cast<long double>(top) ? top : static_cast<std::int64_t>(word);
}
std::int64_t Q15(int decibels) { return GainWord(decibels, 15, 32767); }
std::int64_t Q13(int decibels) { return GainWord(decibels, 13, 32767); }

std::vector<std::int64_t> BandWords(const std::vector<FilterBand>& bands) {
  std::vector<reference::Section> sections;
  for (const FilterBand& band : bands) sections.push_back(reference::Band(band, 48000));
  return reference::Words(sections, 32);
}
std::vector<std::int64_t> HighPassWords(float frequency, int order) {
  return reference::Words(reference::Butterworth(frequency, order, 48000, true), 32);
}
std::vector<std::int32_t> BassWords(float audio, float analysis) {
  std::vector<std::int32_t> words(kBassEnhancementWords);
  std::vector<std::byte> workspace(FilterWorkspace(1));
  DesignBassEnhancementFilters(audio, analysis, 48000, words.data(), workspace.data());
  return words;
}

void AddBand(QualcommControls& controls, const std::wstring& band, std::int32_t enable,
             std::int32_t frequency, std::int32_t gain, std::int32_t q) {
  controls[L"QUMEDIA-PEQ " + band + L" Enable"] = enable;
  controls[L"QUMEDIA-PEQ " + band + L" Frequency"] = frequency;
  controls[L"QUMEDIA-PEQ " + band + L" Gain"] = gain;
  controls[L"QUMEDIA-PEQ " + band + L" Q Factor"] = q;
}

QualcommControls WholeMode() {
  QualcommControls controls = {
      {L"QUMEDIA-Process Enable", 1},
      {L"QUMEDIA-Main Tech", 4},
      {L"QUMEDIA-Limit Enable", 1},
      {L"QUMEDIA-WIDHDX Enhance Mode", 1},
      {L"QUMEDIA-DPHD Enable", 1},
      {L"QUMEDIA-DPHD Split Analysis Enable", 1},
      {L"QUMEDIA-DC Enable", 1},
      {L"QUMEDIA-DC Level", 33},
      {L"QUMEDIA-Definition Level", 77},
      {L"QUMEDIA-WIDHDX ORV3D Mode", 1},
      {L"QUMEDIA-WIDHDX ORV3D Center Level", 45},
      {L"QUMEDIA-WIDHDX ORV3D Space Level", 65},
      {L"QUMEDIA-WIDHDX Input Gain", -6},
      {L"QUMEDIA-WIDHDX Output Gain", -1},
      {L"QUMEDIA-WIDHDX Bypass Gain", -37},
      {L"QUMEDIA-MXHP MX Decoder Enable", 1},
      {L"QUMEDIA-MXHP Input Gain", -2},
      {L"QUMEDIA-MXHP Output Gain", -4},
      {L"QUMEDIA-MXHP Bypass Gain", -8},
      {L"QUMEDIA-DPHD Mode", 1},
      {L"QUMEDIA-DPHD Level", 50},
      {L"QUMEDIA-DPHD Compressor Level", 35},
      {L"QUMEDIA-DPHD Speaker Audio Custom Size", 350},
      {L"QUMEDIA-DPHD Speaker Analysis Custom Size", 280},
      {L"QUMEDIA-HPF Enable", 1},
      {L"QUMEDIA-HPF Order", 5},
      {L"QUMEDIA-HPF Frequency", 220},
      {L"QUMEDIA-Hard Limiter Enable", 1},
      {L"QUMEDIA-Hard Limiter Input Gain", 3},
      {L"QUMEDIA-Hard Limiter Output Gain", -5},
      {L"QUMEDIA-Hard Limiter Bypass Gain", -7},
      {L"QUMEDIA-Hard Limiter Boost Offset", 6},
      {L"QUMEDIA-Hard Limiter Limit Level", 95},
      {L"QUMEDIA-Link PEQ Enable", 1},
  };
  AddBand(controls, L"Left Band 0", 1, 60, 3, 80);
  AddBand(controls, L"Left Band 1", 0, 500, -4, 120);
  AddBand(controls, L"Left Band 2", 1, 2500, 6, 200);
  AddBand(controls, L"Left Band 3", 1, 9000, -2, 71);
  AddBand(controls, L"Right Band 0", 0, 80, 2, 90);
  AddBand(controls, L"Right Band 1", 1, 450, -3, 100);
  AddBand(controls, L"Right Band 2", 0, 3000, 5, 150);
  AddBand(controls, L"Right Band 3", 1, 8000, 0, 100);
  return controls;
}

TEST(QualcommRecords, WholeModeGivesEveryRecordByteForByte) {
  const QualcommControls mode = WholeMode();
  const auto bass = BassWords(350, 280);
  EXPECT_EQ(Record(kORVAPOQC_Param_Flags, mode), Expected().U8(0x3D).U8(0).I16(0).U32(0).bytes());
  EXPECT_EQ(Record(kORVAPOQC_Param_WIDHD, mode), Expected()
                                                     .U32(0x2DF)
                                                     .I16(Q15(-6))
                                                     .I16(Q15(-1))
                                                     .I16(Q15(-37))
                                                     .I16(10813)
                                                     .I16(25231)
                                                     .I16(14746)
                                                     .I16(21299)
                                                     .I16(0)
                                                     .U32(0x40000000)
                                                     .I16(16384)
                                                     .I16(11469)
                                                     .Words(bass, 16)
                                                     .bytes());
  EXPECT_EQ(Record(kORVAPOQC_Param_MXHP, mode), Expected()
                                                    .U32(0x9F)
                                                    .I16(Q15(-2))
                                                    .I16(Q15(-4))
                                                    .I16(Q15(-8))
                                                    .I16(10813)
                                                    .I16(25231)
                                                    .I16(0)
                                                    .U32(0x10000000)
                                                    .I16(16384)
                                                    .I16(11469)
                                                    .Words(bass, 16)
                                                    .bytes());
  EXPECT_EQ(Record(kORVAPOQC_Param_HPF, mode),
            Expected().U32(5).Words(HighPassWords(220, 5), 26).bytes());
  EXPECT_EQ(Record(kORVAPOQC_Param_HardLimiter, mode), Expected()
                                                           .I16(Q13(3))
                                                           .I16(Q13(-5))
                                                           .I16(Q15(-7))
                                                           .I16(0)
                                                           .U32(22)
                                                           .U32(16737473)
                                                           .I16(31130)
                                                           .I16(0)
                                                           .U32(1)
                                                           .bytes());
  const auto left = BandWords(
      {{0, 60, 0.8F, 3, 0}, {0, 500, 1.2F, -4, 0}, {0, 2500, 2, 6, 0}, {0, 9000, 0.71F, -2, 0}});
  const auto right = BandWords(
      {{0, 80, 0.9F, 2, 0}, {0, 450, 1, -3, 0}, {0, 3000, 1.5F, 5, 0}, {0, 8000, 1, 0, 0}});
  EXPECT_EQ(
      Record(kORVAPOQC_Param_PEQ, mode),
      Expected().U32(0xAD3).U32(0x10001000).U32(0x1000).Words(left, 26).Words(right, 26).bytes());
}

TEST(QualcommRecords, GainsAndLevelsRoundAndSaturate) {
  const auto limiter = [](const wchar_t* control, std::int32_t value, std::size_t offset,
                          FieldType type) {
    return Field(kORVAPOQC_Param_HardLimiter,
                 {{std::wstring(L"QUMEDIA-Hard Limiter ") + control, value}}, offset, type);
  };
  struct Case {
    std::int32_t value;
    std::int64_t q15, q13, q23, level;
  };
  const Case cases[] = {
      {0, 32767, 8192, 8388608, 0},
      {1, 32767, 9192, 9412173, 328},
      {6, 32767, 16345, 16737473, 1966},
      {50, 32767, 32767, 2147483647, 16384},
      {100, 32767, 32767, 2147483647, 32767},
      {-1, 29205, 7301, 7476355, 32767},
      {-6, 16423, 4106, 4204263, 32767},
      {-999, 0, 0, 0, 32767},
      {-998, 0, 0, 0, 32767},
      {kHighest, 32767, 32767, 2147483647, 32767},
      {kLowest, 0, 0, 0, 32767},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(limiter(L"Input Gain", c.value, 0, FieldType::I16), c.q13);
    EXPECT_EQ(limiter(L"Output Gain", c.value, 2, FieldType::I16), c.q13);
    EXPECT_EQ(limiter(L"Bypass Gain", c.value, 4, FieldType::I16), c.q15);
    EXPECT_EQ(limiter(L"Boost Offset", c.value, 12, FieldType::I32), c.q23);
    EXPECT_EQ(limiter(L"Limit Level", c.value, 16, FieldType::I16), c.level);
  }
}

TEST(QualcommRecords, OptionBitsComeFromExactNames) {
  const auto widening = [](const QualcommControls& controls) {
    return Field(kORVAPOQC_Param_WIDHD, controls, 0, FieldType::U32);
  };
  EXPECT_EQ(widening({}), 0x180);
  EXPECT_EQ(widening({{L"QUMEDIA-WIDHDX ORV3D Mode", 2}}), 0x380);
  EXPECT_EQ(widening({{L"QUMEDIA-WIDHDX ORV3D Mode", 7}}), 0x480);
  EXPECT_EQ(widening({{L"QUMEDIA-WIDHDX ORV3D Mode", -1}}), 0x480);
  EXPECT_EQ(widening({{L"QUMEDIA-Limit Enable", -5}, {L"QUMEDIA-DPHD Mode", 2}}), 0x1C1);
  EXPECT_EQ(widening({{L"QUMEDIA-limit Enable", 1}}), 0x180);
  EXPECT_EQ(
      Field(kORVAPOQC_Param_PEQ, {{L"QUMEDIA-PEQ Right Band 3 Enable", 1}}, 0, FieldType::U32),
      0x803);
  const struct {
    const wchar_t* control;
    std::int64_t widening, headphone;
  } switches[] = {{L"QUMEDIA-Limit Enable", 0x01, 0x01},
                  {L"QUMEDIA-WIDHDX Enhance Mode", 0x02, 0},
                  {L"QUMEDIA-DPHD Enable", 0x04, 0x04},
                  {L"QUMEDIA-DPHD Split Analysis Enable", 0x08, 0x08},
                  {L"QUMEDIA-DC Enable", 0x10, 0x02},
                  {L"QUMEDIA-Definition Enable", 0x20, 0x40},
                  {L"QUMEDIA-DPHD Mode", 0x40, 0x80},
                  {L"QUMEDIA-MXHP MX Decoder Enable", 0, 0x10},
                  {L"QUMEDIA-MXHP MX Decoder Mode", 0, 0x20}};
  for (const auto& [control, in_widening, in_headphone] : switches) {
    EXPECT_EQ(widening({{control, 1}}), 0x180 + in_widening);
    EXPECT_EQ(Field(kORVAPOQC_Param_MXHP, {{control, 1}}, 0, FieldType::U32), in_headphone);
  }
  const auto flags = [](std::int32_t main_tech) {
    return Field(kORVAPOQC_Param_Flags, {{L"QUMEDIA-Main Tech", main_tech}}, 0, FieldType::U8);
  };
  EXPECT_EQ(flags(1), 0x02);
  EXPECT_EQ(flags(4), 0x04);
  EXPECT_EQ(flags(2), 0x00);
}

TEST(QualcommRecords, HighPassOrdersOutsideTheFieldGoWithoutCoefficients) {
  const auto record = [](std::int32_t order, std::int32_t frequency) {
    return Record(kORVAPOQC_Param_HPF,
                  {{L"QUMEDIA-HPF Order", order}, {L"QUMEDIA-HPF Frequency", frequency}});
  };
  for (const std::int32_t order : {1, 2, 8}) {
    EXPECT_EQ(record(order, 100),
              Expected().U32(order).Words(HighPassWords(100, order), 26).bytes())
        << order;
  }
  const auto bare = [](std::int64_t order) {
    return Expected().U32(order).Words(std::vector<int>(), 26).bytes();
  };
  for (const std::int32_t order : {kLowest, -1, 0, 9, 10, kHighest})
    EXPECT_EQ(record(order, 100), bare(order)) << order;
  EXPECT_EQ(record(2, 24000), bare(2));
  EXPECT_NE(record(2, 23999), bare(2));
}

TEST(QualcommRecords, BandThatCannotBeDesignedSilencesItsChannelOnly) {
  QualcommControls controls;
  for (const wchar_t band : {L'0', L'1', L'2', L'3'}) {
    AddBand(controls, std::wstring(L"Left Band ") + band, 1, 1000, 3, 100);
    AddBand(controls, std::wstring(L"Right Band ") + band, 1, 1000, 3, 100);
  }
  const Bytes whole = Record(kORVAPOQC_Param_PEQ, controls);
  // Taken as unsigned, a negative frequency lies far above half the sample rate.
  for (const std::int32_t frequency : {24000, -1}) {
    controls[L"QUMEDIA-PEQ Right Band 3 Frequency"] = frequency;
    const Bytes cut = Record(kORVAPOQC_Param_PEQ, controls);
    EXPECT_TRUE(std::equal(cut.begin(), cut.begin() + 116, whole.begin()));
    EXPECT_EQ(Bytes(cut.begin() + 116, cut.end()), Bytes(104)) << frequency;
  }
}

TEST(QualcommRecords, BassSizesFollowTheSplit) {
  QualcommControls controls = {{L"QUMEDIA-DPHD Speaker Audio Custom Size", 350},
                               {L"QUMEDIA-DPHD Speaker Analysis Custom Size", 120}};
  const auto words = [&] {
    const Bytes record = Record(kORVAPOQC_Param_MXHP, controls);
    return Bytes(record.begin() + 24, record.end());
  };
  EXPECT_EQ(words(), Expected().Words(BassWords(350, 350), 16).bytes());
  controls[L"QUMEDIA-DPHD Split Analysis Enable"] = 2;
  EXPECT_EQ(words(), Expected().Words(BassWords(350, 120), 16).bytes());
}

TEST(QualcommRecords, AnyNumbersGiveDefinedRecords) {
  QualcommControls controls = WholeMode();
  std::mt19937 random(9001);
  for (int round = 0; round < 20; ++round) {
    for (auto& [name, value] : controls) {
      const auto bits = static_cast<std::int32_t>(random());
      value = bits >> (random() % 32);
    }
    for (const QualcommParameter parameter : kQualcommSendingOrder)
      EXPECT_EQ(Record(parameter, controls), Record(parameter, controls)) << round;
  }
}

const DecodedField* FindField(const std::vector<DecodedField>& fields, const std::string& control) {
  for (const DecodedField& field : fields)
    if (field.control == control) return &field;
  ADD_FAILURE() << "no field " << control;
  static const DecodedField kNone;
  return &kNone;
}

TEST(QualcommRecords, PeopleReadFieldsInTheirControlsUnits) {
  const QualcommControls mode = WholeMode();
  const auto text = [&](QualcommParameter parameter, const std::string& control) {
    return FindField(DecodeQualcommRecord(parameter, Record(parameter, mode)), control)->text;
  };
  EXPECT_EQ(QualcommRecordName(kORVAPOQC_Param_WIDHD), "widening");
  EXPECT_EQ(text(kORVAPOQC_Param_WIDHD, "QUMEDIA-WIDHDX Input Gain"), "-6.0 dB");
  EXPECT_EQ(text(kORVAPOQC_Param_WIDHD, "QUMEDIA-DC Level"), "33 %");
  EXPECT_EQ(text(kORVAPOQC_Param_WIDHD, "QUMEDIA-WIDHDX ORV3D Mode"), "mode 1");
  EXPECT_EQ(text(kORVAPOQC_Param_WIDHD, "QUMEDIA-Definition Enable"), "off");
  EXPECT_EQ(text(kORVAPOQC_Param_WIDHD, "fixed value"), "0x40000000");
  EXPECT_EQ(text(kORVAPOQC_Param_Flags, "QUMEDIA-Main Tech"), "headphone");
  EXPECT_EQ(text(kORVAPOQC_Param_HardLimiter, "QUMEDIA-Hard Limiter Boost Offset"), "6.0 dB");
  EXPECT_EQ(text(kORVAPOQC_Param_PEQ, "QUMEDIA-PEQ Right Band 1 Enable"), "on");
  Bytes limiter = Record(kORVAPOQC_Param_HardLimiter, mode);
  limiter[0] = limiter[1] = std::byte(0);
  limiter[8] = std::byte(23);
  const auto fields = DecodeQualcommRecord(kORVAPOQC_Param_HardLimiter, limiter);
  EXPECT_EQ(FindField(fields, "QUMEDIA-Hard Limiter Input Gain")->text, "mute");
  EXPECT_EQ(FindField(fields, "fixed value")->text, "0x17, expected 0x16");
}

TEST(QualcommRecords, DecodedCoefficientsAreThoseOfTheFilter) {
  const auto fields =
      DecodeQualcommRecord(kORVAPOQC_Param_HPF, Record(kORVAPOQC_Param_HPF, WholeMode()));
  ASSERT_EQ(fields.size(), 27U);
  const reference::Section section = reference::Butterworth(220, 5, 48000, true)[1];
  EXPECT_NEAR(std::stod(FindField(fields, "section 2 a1")->text), section.a1, 1e-6);
  EXPECT_EQ(fields[20].control, "gain");
  EXPECT_EQ(fields[21].control, "unused");
}

TEST(QualcommRecords, DecoderTakesAnyBytesOfTheRightSize) {
  std::mt19937 random(77);
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    Bytes bytes = Record(parameter, {});
    for (int round = 0; round < 50; ++round) {
      for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
      const auto fields = DecodeQualcommRecord(parameter, bytes);
      ASSERT_FALSE(fields.empty());
      for (std::size_t i = 1; i < fields.size(); ++i)
        EXPECT_LE(fields[i - 1].offset, fields[i].offset);
    }
    bytes.pop_back();
    EXPECT_TRUE(DecodeQualcommRecord(parameter, bytes).empty());
    EXPECT_TRUE(DecodeQualcommRecord(parameter, {}).empty());
  }
  EXPECT_TRUE(DecodeQualcommRecord(0x10005010, Bytes(8)).empty());
  EXPECT_EQ(QualcommRecordName(0x10005017), "");
}

}  // namespace
}  // namespace orv
