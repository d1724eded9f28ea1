// What the driver's records hold for a mode's controls, and how people read them.
#include "qc_dsp/qualcomm_records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include "../dsp_math/filter_reference.h"
#include "platform/text.h"

namespace orv {
namespace {

using Bytes = std::vector<std::byte>;
using Words = std::vector<std::int64_t>;

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kBassWords = 16;
constexpr std::size_t kCascadeWords = 26;

Bytes Record(QualcommParameter parameter, const QualcommControls& controls) {
  const QualcommRecord record(parameter, controls);
  return {record.payload().begin(), record.payload().end()};
}

std::int64_t Field(QualcommParameter parameter, const QualcommControls& controls,
                   std::size_t offset, FieldType type) {
  return ReadField(Record(parameter, controls), offset, type);
}

// A record written down number by number, of `widths` bytes each; coefficients follow.
Bytes Packed(const char* widths, const Words& numbers, const Words& words = {}) {
  Bytes bytes;
  const auto add = [&](FieldType type, std::int64_t value) {
    bytes.resize(bytes.size() + FieldWidth(type));
    StoreField(bytes, bytes.size() - FieldWidth(type), type, value);
  };
  for (const std::int64_t number : numbers)
    add(*widths++ == '2' ? FieldType::I16 : FieldType::I32, number);
  for (const std::int64_t word : words) add(FieldType::I32, word);
  return bytes;
}

std::int64_t GainWord(int decibels, int fraction_bits) {
  const long double word = std::ldexp(std::pow(10.0L, decibels / 20.0L), fraction_bits) + 0.5L;
  return std::min<std::int64_t>(static_cast<std::int64_t>(word), 32767);
}
std::int64_t Q15(int decibels) { return GainWord(decibels, 15); }
std::int64_t Q13(int decibels) { return GainWord(decibels, 13); }

Words CascadeWords(const std::vector<reference::Section>& sections) {
  Words words = reference::Words(sections, 32);
  words.resize(kCascadeWords);
  return words;
}
Words HighPassWords(float frequency, int order) {
  return CascadeWords(reference::Butterworth(frequency, order, 48000, true));
}
Words BassWords(float audio, float analysis) {
  std::int32_t words[kBassEnhancementWords];
  std::vector<std::byte> workspace(FilterWorkspace(1));
  DesignBassEnhancementFilters(audio, analysis, 48000, words, workspace.data());
  return {words, words + kBassWords};
}

// "Name=value Name=value ..."
QualcommControls Controls(const std::string& text) {
  QualcommControls controls;
  std::istringstream stream(text);
  std::string name;
  for (std::int32_t value = 0; std::getline(stream >> std::ws, name, '=') && stream >> value;)
    controls[Widen("QUMEDIA-" + name)] = value;
  return controls;
}

struct Band {
  const char* name;
  int enable, frequency, gain, q;
};
constexpr Band kBands[] = {{"Left Band 0", 1, 60, 3, 80},     {"Left Band 1", 0, 500, -4, 120},
                           {"Left Band 2", 1, 2500, 6, 200},  {"Left Band 3", 1, 9000, -2, 71},
                           {"Right Band 0", 0, 80, 2, 90},    {"Right Band 1", 1, 450, -3, 100},
                           {"Right Band 2", 0, 3000, 5, 150}, {"Right Band 3", 1, 8000, 0, 100}};

QualcommControls WholeMode() {
  QualcommControls controls = Controls(R"(
Process Enable=1 Main Tech=4 Limit Enable=1 WIDHDX Enhance Mode=1 DPHD Enable=1
DPHD Split Analysis Enable=1 DC Enable=1 DC Level=33 Definition Level=77 WIDHDX ORV3D Mode=1
WIDHDX ORV3D Center Level=45 WIDHDX ORV3D Space Level=65 WIDHDX Input Gain=-6 WIDHDX Output Gain=-1
WIDHDX Bypass Gain=-37 MXHP MX Decoder Enable=1 MXHP Input Gain=-2 MXHP Output Gain=-4
MXHP Bypass Gain=-8 DPHD Mode=1 DPHD Level=50 DPHD Compressor Level=35
DPHD Speaker Audio Custom Size=350 DPHD Speaker Analysis Custom Size=280 HPF Enable=1 HPF Order=5
HPF Frequency=220 Hard Limiter Enable=1 Hard Limiter Input Gain=3 Hard Limiter Output Gain=-5
Hard Limiter Bypass Gain=-7 Hard Limiter Boost Offset=6 Hard Limiter Limit Level=95
Link PEQ Enable=1)");
  for (const Band& band : kBands) {
    const std::wstring stem = Widen(std::string("QUMEDIA-PEQ ") + band.name);
    controls[stem + L" Enable"] = band.enable;
    controls[stem + L" Frequency"] = band.frequency;
    controls[stem + L" Gain"] = band.gain;
    controls[stem + L" Q Factor"] = band.q;
  }
  return controls;
}

TEST(QualcommRecords, WholeModeGivesEveryRecordByteForByte) {
  const QualcommControls mode = WholeMode();
  const Words bass = BassWords(350, 280);
  EXPECT_EQ(Record(kORVAPOQC_Param_Flags, mode), Packed("44", {0x3D, 0}));
  EXPECT_EQ(Record(kORVAPOQC_Param_WIDHD, mode),
            Packed("422222222422",
                   {0x2DF, Q15(-6), Q15(-1), Q15(-37), 10813, 25231, 14746, 21299, 0, 0x40000000,
                    16384, 11469},
                   bass));
  EXPECT_EQ(
      Record(kORVAPOQC_Param_MXHP, mode),
      Packed("4222222422",
             {0x9F, Q15(-2), Q15(-4), Q15(-8), 10813, 25231, 0, 0x10000000, 16384, 11469}, bass));
  EXPECT_EQ(Record(kORVAPOQC_Param_HPF, mode), Packed("4", {5}, HighPassWords(220, 5)));
  EXPECT_EQ(Record(kORVAPOQC_Param_HardLimiter, mode),
            Packed("222244224", {Q13(3), Q13(-5), Q15(-7), 0, 22, 16737473, 31130, 0, 1}));
  std::vector<reference::Section> channels[2];
  for (const Band& band : kBands) {
    const FilterBand expected{kORVFilter_Traditional, static_cast<float>(band.frequency),
                              static_cast<float>(band.q) / 100, static_cast<float>(band.gain), 0};
    channels[band.name[0] == 'R'].push_back(reference::Band(expected, 48000));
  }
  Words words = CascadeWords(channels[0]);
  const Words right = CascadeWords(channels[1]);
  words.insert(words.end(), right.begin(), right.end());
  EXPECT_EQ(Record(kORVAPOQC_Param_PEQ, mode), Packed("444", {0xAD3, 0x10001000, 0x1000}, words));
}

TEST(QualcommRecords, GainsAndLevelsRoundAndSaturate) {
  const struct {
    std::int32_t value;
    std::int64_t q15, q13, q23, level;
  } cases[] = {
      {0, 32767, 8192, 8388608, 0},
      {1, 32767, 9192, 9412173, 328},
      {6, 32767, 16345, 16737473, 1966},
      {50, 32767, 32767, 2147483647, 16384},
      {-1, 29205, 7301, 7476355, 32767},
      {-6, 16423, 4106, 4204263, 32767},
      {-999, 0, 0, 0, 32767},
      {kHighest, 32767, 32767, 2147483647, 32767},
      {kLowest, 0, 0, 0, 32767},
  };
  for (const auto& [value, q15, q13, q23, level] : cases) {
    QualcommControls controls;
    for (const wchar_t* name :
         {L"Input Gain", L"Output Gain", L"Bypass Gain", L"Boost Offset", L"Limit Level"})
      controls[std::wstring(L"QUMEDIA-Hard Limiter ") + name] = value;
    EXPECT_EQ(Record(kORVAPOQC_Param_HardLimiter, controls),
              Packed("222244224", {q13, q13, q15, 0, 22, q23, level, 0, 1}))
        << value;
  }
}

TEST(QualcommRecords, OptionBitsComeFromExactNames) {
  const struct {
    const char* controls;
    std::int64_t widening, headphone;
  } cases[] = {{"", 0, 0},
               {"WIDHDX ORV3D Mode=2", 0x200, 0},
               {"WIDHDX ORV3D Mode=7", 0x300, 0},
               {"WIDHDX ORV3D Mode=-1", 0x300, 0},
               {"Limit Enable=-5 DPHD Mode=2", 0x41, 0x81},
               {"limit Enable=1", 0, 0},
               {"Limit Enable=1", 0x01, 0x01},
               {"WIDHDX Enhance Mode=1", 0x02, 0},
               {"DPHD Enable=1", 0x04, 0x04},
               {"DPHD Split Analysis Enable=1", 0x08, 0x08},
               {"DC Enable=1", 0x10, 0x02},
               {"Definition Enable=1", 0x20, 0x40},
               {"DPHD Mode=1", 0x40, 0x80},
               {"MXHP MX Decoder Enable=1", 0, 0x10},
               {"MXHP MX Decoder Mode=1", 0, 0x20}};
  for (const auto& [controls, widening, headphone] : cases) {
    EXPECT_EQ(Field(kORVAPOQC_Param_WIDHD, Controls(controls), 0, FieldType::U32), 0x180 + widening)
        << controls;
    EXPECT_EQ(Field(kORVAPOQC_Param_MXHP, Controls(controls), 0, FieldType::U32), headphone)
        << controls;
  }
  EXPECT_EQ(Field(kORVAPOQC_Param_PEQ, Controls("PEQ Right Band 3 Enable=1"), 0, FieldType::U32),
            0x803);
  EXPECT_EQ(Field(kORVAPOQC_Param_Flags, Controls("Main Tech=1"), 0, FieldType::U8), 0x02);
  EXPECT_EQ(Field(kORVAPOQC_Param_Flags, Controls("Main Tech=2"), 0, FieldType::U8), 0x00);
}

TEST(QualcommRecords, HighPassOrdersOutsideTheFieldGoWithoutCoefficients) {
  const auto record = [](std::int32_t order, std::int32_t frequency) {
    return Record(kORVAPOQC_Param_HPF,
                  {{L"QUMEDIA-HPF Order", order}, {L"QUMEDIA-HPF Frequency", frequency}});
  };
  for (const std::int32_t order : {1, 2, 8})
    EXPECT_EQ(record(order, 100), Packed("4", {order}, HighPassWords(100, order))) << order;
  const auto bare = [](std::int64_t order) { return Packed("4", {order}, Words(kCascadeWords)); };
  for (const std::int32_t order : {kLowest, -1, 0, 9, kHighest})
    EXPECT_EQ(record(order, 100), bare(order)) << order;
  EXPECT_EQ(record(2, 24000), bare(2));
  EXPECT_NE(record(2, 23999), bare(2));
}

TEST(QualcommRecords, BandThatCannotBeDesignedSilencesItsChannelOnly) {
  QualcommControls controls = WholeMode();
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
  QualcommControls controls =
      Controls("DPHD Speaker Audio Custom Size=350 DPHD Speaker Analysis Custom Size=120");
  const auto words = [&] {
    const Bytes record = Record(kORVAPOQC_Param_MXHP, controls);
    return Bytes(record.begin() + 24, record.end());
  };
  EXPECT_EQ(words(), Packed("", {}, BassWords(350, 350)));
  controls[L"QUMEDIA-DPHD Split Analysis Enable"] = 2;
  EXPECT_EQ(words(), Packed("", {}, BassWords(350, 120)));
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

TEST(QualcommRecords, PeopleReadFieldsInTheirControlsUnits) {
  const QualcommControls mode = WholeMode();
  const auto read = [](QualcommParameter parameter, const Bytes& record) {
    std::map<std::string, std::string> texts;
    for (const DecodedField& field : DecodeQualcommRecord(parameter, record))
      texts[field.control] = field.text;
    return texts;
  };
  auto texts = read(kORVAPOQC_Param_WIDHD, Record(kORVAPOQC_Param_WIDHD, mode));
  EXPECT_EQ(texts["QUMEDIA-WIDHDX Input Gain"], "-6.0 dB");
  EXPECT_EQ(texts["QUMEDIA-DC Level"], "33 %");
  EXPECT_EQ(texts["QUMEDIA-WIDHDX ORV3D Mode"], "mode 1");
  EXPECT_EQ(texts["QUMEDIA-Definition Enable"], "off");
  EXPECT_EQ(texts["fixed value"], "0x40000000");
  texts = read(kORVAPOQC_Param_Flags, Record(kORVAPOQC_Param_Flags, mode));
  EXPECT_EQ(texts["QUMEDIA-Main Tech"], "headphone");
  texts = read(kORVAPOQC_Param_PEQ, Record(kORVAPOQC_Param_PEQ, mode));
  EXPECT_EQ(texts["QUMEDIA-PEQ Right Band 1 Enable"], "on");
  Bytes limiter = Record(kORVAPOQC_Param_HardLimiter, mode);
  limiter[0] = limiter[1] = std::byte(0);
  limiter[20] = std::byte(23);
  texts = read(kORVAPOQC_Param_HardLimiter, limiter);
  EXPECT_EQ(texts["QUMEDIA-Hard Limiter Boost Offset"], "6.0 dB");
  EXPECT_EQ(texts["QUMEDIA-Hard Limiter Input Gain"], "mute");
  EXPECT_EQ(texts["fixed value"], "0x17, expected 0x1");
  const reference::Section section = reference::Butterworth(220, 5, 48000, true)[1];
  texts = read(kORVAPOQC_Param_HPF, Record(kORVAPOQC_Param_HPF, mode));
  EXPECT_NEAR(std::stod(texts["section 2 a1"]), section.a1, 1e-6);
  EXPECT_EQ(texts.count("gain"), 1U);
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
