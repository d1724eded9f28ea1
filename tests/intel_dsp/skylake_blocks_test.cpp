// A mode's controls as blocks of the Skylake module.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "../dsp_math/designed_words.h"
#include "fake_skylake_driver.h"

namespace orv {
namespace {

using ::testing::ElementsAre;

using Writer = HRESULT (KELAPOIntelDSP_SKL::*)(const ControlValueMap&, std::uint8_t);
// In the order of a whole-mode write.
constexpr Writer kWriters[] = {
    &KELAPOIntelDSP_SKL::SetVQ3DControls,         &KELAPOIntelDSP_SKL::SetVQ3DEVolHDControls,
    &KELAPOIntelDSP_SKL::SetVQ3DVocadiagControls, &KELAPOIntelDSP_SKL::SetVQ3DCommonControls,
    &KELAPOIntelDSP_SKL::SetVQ3DPX3DControls,     &KELAPOIntelDSP_SKL::SetVQ3DMXHPControls,
    &KELAPOIntelDSP_SKL::SetVQ3DGEQControls,      &KELAPOIntelDSP_SKL::SetVQ3DToneControls,
    &KELAPOIntelDSP_SKL::SetVQ3DAEQControls,      &KELAPOIntelDSP_SKL::SetVQ3DMvolControls,
    &KELAPOIntelDSP_SKL::SetVQ3DHdLmtControls,    &KELAPOIntelDSP_SKL::SetVQ3DAdvGainControls,
    &KELAPOIntelDSP_SKL::SetVQ3DHPFAEQControls};

class SkylakeBlocks : public ::testing::Test {
 protected:
  SkylakeBlocks() { KELAPOIntelDSP_SKL::ClearCache(); }

  // The writer of the block with this low byte of its parameter (13: the filters).
  HRESULT Write(std::uint32_t number, std::uint8_t apply = 1) {
    return (dsp.*kWriters[number - 1])(mode, apply);
  }
  void Set(const std::string& name, int value) { Put(mode, "VQ3D-" + name, value); }
  void Erase(const std::string& name) { mode.erase("VQ3D-" + name); }

  FakeSkylakeDriver driver;
  KELAPOIntelDSP_SKL dsp{driver};
  ControlValueMap mode = FullMode();
};

TEST_F(SkylakeBlocks, WholeModeIsWrittenByteForByteAndVerified) {
  for (std::uint32_t number = 1; number <= 12; ++number) EXPECT_EQ(Write(number, 0xA5), S_OK);
  for (const std::string& request : driver.requests)
    EXPECT_TRUE(request.starts_with("set ") && request.ends_with(" apply 165")) << request;
  EXPECT_EQ(driver.Sent(), "01 11 02 03 04 05 06 07 08 09 0a 0b 0c");
  for (const auto& [number, bytes] : FullModeBlocks()) EXPECT_EQ(driver.held[number], bytes);
  EXPECT_EQ(driver.held[0x11], FromHex("80bb0000"));
  EXPECT_TRUE(KELAPOIntelDSP_SKL::CachedProcessEnable());

  const SkylakeImage sent = KELAPOIntelDSP_SKL::CachedImage();
  SkylakeImage read;
  read.fill(std::byte{0xEE});
  EXPECT_EQ(dsp.GetVQ3DParameters(read), S_OK);
  EXPECT_EQ(driver.requests.front(), "get 01 apply 0");
  EXPECT_EQ(driver.requests.back(), "get 0c apply 0");
  EXPECT_TRUE(CompareSkylakeImages(sent, read).empty());

  driver.held[0x01][12] = 0;  // the high-pass switch, after all else in the image's first half
  driver.held[0x06][12] ^= 2;
  EXPECT_EQ(dsp.GetVQ3DParameters(read), S_OK);
  const auto differences = CompareSkylakeImages(sent, read);
  ASSERT_EQ(differences.size(), 2U);
  EXPECT_EQ(differences[0].control, "VQ3D-DC Level");
  EXPECT_EQ(differences[0].sent, 6554);
  EXPECT_EQ(differences[0].read, 6552);
  EXPECT_EQ(differences[1].control, "VQ3D-HPF Enable");
  EXPECT_EQ(differences[1].block, "KEL_PARAM_VQSND3D_VQ3D_CONTROLS_STU");

  Set("Main Tech", 7);  // beyond the last is none
  EXPECT_EQ(Write(1), S_OK);
  EXPECT_EQ(Word(driver.held[1], 8), 0);
}

TEST_F(SkylakeBlocks, AFailedReadLeavesZerosAndTheLastReadDecides) {
  driver.held = FullModeBlocks();
  driver.unreadable = {0x01};
  SkylakeImage image;
  image.fill(std::byte{0xEE});
  EXPECT_EQ(dsp.GetVQ3DParameters(image), S_OK);
  EXPECT_EQ(image[0], std::byte{0});
  EXPECT_NE(image[12], std::byte{0});
  driver.unreadable = {0x0C};
  EXPECT_EQ(dsp.GetVQ3DParameters(image), FakeSkylakeDriver::kRefusal);
}

TEST_F(SkylakeBlocks, ValuesThatAreMissingOrOutsideTheirRangeSendNothing) {
  const std::pair<std::uint32_t, const char*> rows[] = {
      {2, "EVolHD LKFS Float=-1 EVolHD Level Intensity Float=-1"},
      {3, "Vocalift Process Gain=120 Vocalift Process Gain=-70"},
      {4, "DPHD Mode=3 DPHD Compressor Level=-1"},
      {5, "Ambiwide Level=-1 DC Level=-1"},
      {8, "Bass Gain=13 Treble Gain=-13"},
      {10,
       "Master Volume Volume Step=101 Master Volume Volume Step=-1 "
       "Master Volume L/R Balance=11"},
      {11, "Hard Limiter Delay Length=59 Hard Limiter Delay Length=241"},
      {12, "Hard Limiter Boost Offset Float=-1"}};
  for (const auto& [number, controls] : rows) {
    for (const auto& [name, bad] : Controls(controls)) {
      mode = FullMode();
      Put(mode, name, bad);
      EXPECT_EQ(Write(number), E_FAIL) << name;
    }
  }
  for (const auto& [number, missing] : {std::pair{1U, "Headroom Gain"}, {9U, "AEQ Enable"}}) {
    mode = FullMode();
    Erase(missing);
    EXPECT_EQ(Write(number), E_FAIL) << missing;
  }
  EXPECT_TRUE(driver.requests.empty());
  // What would have been sent is remembered all the same.
  EXPECT_NE(KELAPOIntelDSP_SKL::CachedImage(), SkylakeImage{});
}

// A driver call counts only when it succeeds with a status that is not negative.
TEST_F(SkylakeBlocks, CallAndStatusMustBothBeGood) {
  const auto statuses = [&](bool succeeds, HRESULT status) {
    driver.answer = {succeeds, status};
    SkylakeImage image;
    return std::vector{Write(0x07), dsp.GetVQ3DParameters(image), dsp.SetPPModuleStatus(1, 0)};
  };
  EXPECT_THAT(statuses(false, S_OK), ElementsAre(E_FAIL, E_FAIL, E_FAIL));
  EXPECT_EQ(driver.requests.back(), "status 1 apply 0");
  EXPECT_THAT(statuses(true, FakeSkylakeDriver::kRefusal),
              ::testing::Each(FakeSkylakeDriver::kRefusal));
  EXPECT_THAT(statuses(true, 3), ElementsAre(3, 3, 3));  // positive ones are passed on
  driver.answer = {};
  driver.refused = {0x11};
  EXPECT_EQ(Write(0x01), FakeSkylakeDriver::kRefusal);
}

TEST_F(SkylakeBlocks, BassLevelFollowsBoostAndSplit) {
  const std::pair<const char*, double> rows[] = {
      {"DPHD Level=80 DPHD Max Level=100 DPHD Boost Enable=1 DPHD Boost Split=50", 0.9},
      {"DPHD Boost Enable=0", 0.4},
      {"DPHD Max Level=60 DPHD Boost Split=150", 0.48},
      {"DPHD Boost Enable=1 DPHD Max Level=5 DPHD Boost Split=100", 0.08},
      {"DPHD Max Level=300", 0.8},
      {"DPHD Boost Split=-20", 0.8}};
  for (const auto& [changes, expected] : rows) {
    for (const auto& [name, value] : Controls(changes)) Put(mode, name, value);
    EXPECT_EQ(Write(4), S_OK);
    EXPECT_EQ(HalfWord(driver.held[4], 4), std::lround(expected * 32768)) << changes;
  }
}

TEST_F(SkylakeBlocks, ClarityLevelsDoWithoutTheirMaximum) {
  Erase("DC Max Level");
  EXPECT_EQ(Write(0x05), S_OK);
  EXPECT_EQ(Write(0x06), S_OK);
  EXPECT_EQ(HalfWord(driver.held[0x05], 4), 13107);
  EXPECT_EQ(HalfWord(driver.held[0x05], 12), 13107);
  EXPECT_EQ(HalfWord(driver.held[0x06], 12), 13107);

  Erase("DC Level");
  Erase("DC Enable");
  Set("MXHP DialogClarity Enable", 1);
  Set("MXHP DialogClarity Level", 25);
  EXPECT_EQ(Write(0x06), S_OK);
  EXPECT_EQ(Word(driver.held[0x06], 8), 1);
  EXPECT_EQ(HalfWord(driver.held[0x06], 12), 8192);
  EXPECT_EQ(Write(0x05), E_FAIL);  // has no such pair
}

TEST_F(SkylakeBlocks, FloatGainsOfTheGraphicEqualizerAreClampedToo) {
  Put(mode, "VQ3D-GEQ 100Hz Gain Float", "2.0");
  Put(mode, "VQ3D-GEQ 300Hz Gain Float", "1e6");
  Put(mode, "VQ3D-GEQ 1kHz Gain Float", "silent");
  Erase("GEQ 100Hz Gain");
  EXPECT_EQ(Write(0x07), S_OK);
  EXPECT_EQ(HalfWord(driver.held[0x07], 4), 8192);
  EXPECT_EQ(HalfWord(driver.held[0x07], 6), 23060);
  EXPECT_EQ(HalfWord(driver.held[0x07], 8), 725);
}

TEST_F(SkylakeBlocks, ToneAndVolumeOfTheDspStayWhenControlsAreMissing) {
  Erase("Tone Enable");
  Erase("Master Volume L/R Balance");
  driver.held[0x08] = FromHex("010000000300000004000000");
  driver.held[0x0A] = FromHex("01000000500000000200000001000000");
  EXPECT_EQ(Write(0x08, 7), S_OK);
  EXPECT_EQ(Write(0x0A, 7), S_OK);
  EXPECT_THAT(driver.requests, ElementsAre("get 08 apply 7", "get 0a apply 7"));
  SkylakeImage read;
  dsp.GetVQ3DParameters(read);
  for (const SkylakeDifference& left :
       CompareSkylakeImages(KELAPOIntelDSP_SKL::CachedImage(), read))
    ADD_FAILURE() << left.control;  // nothing else was written or held
}

TEST_F(SkylakeBlocks, UnreadableFallbacksSendWhatIsKnown) {
  for (const char* missing : {"Treble Gain", "Master Volume Volume Step", "Tone Input Gain"})
    Erase(missing);
  for (const std::uint32_t number : {0x08, 0x0A, 0x0C}) EXPECT_EQ(Write(number), S_OK);
  EXPECT_EQ(driver.held[0x08], FromHex("01000000fdffffff00000000"));
  EXPECT_EQ(driver.held[0x0A], FromHex("01000000190000000000000000000000"));
  Bytes gains = FullModeBlocks().at(0x0C);
  gains[14] = 0x27;  // -6 dB, what the module starts with
  gains[15] = 0x40;
  EXPECT_EQ(driver.held[0x0C], gains);
  driver.held[0x0C][14] = gains[14] = 0x34;
  EXPECT_EQ(Write(0x0C), S_OK);
  EXPECT_EQ(driver.held[0x0C], gains);
}

TEST_F(SkylakeBlocks, CustomSizesSendTheirCoefficientsFirst) {
  Set("DPHD Speaker Audio Size", 185);
  Set("DPHD Speaker Audio Custom Size", 185);
  Set("DPHD Speaker Analysis Custom Size", 165);
  EXPECT_EQ(Write(0x04), S_OK);
  EXPECT_EQ(driver.Sent(), "0f 04");
  EXPECT_EQ(Word(driver.held[0x04], 8), 9);
  std::vector<std::int32_t> designed(kBassEnhancementWords);
  std::vector<char> workspace(FilterWorkspace(1));
  DesignBassEnhancementFilters(185, 165, 48000, designed.data(), workspace.data());
  EXPECT_EQ(std::memcmp(driver.held[0x0F].data(), designed.data(), 96), 0);

  driver.refused = {0x0F};
  EXPECT_EQ(Write(0x04), FakeSkylakeDriver::kRefusal);
  EXPECT_EQ(driver.Sent(), "0f");  // the block would select coefficients that are not there
  for (const int hertz : {0, -5, 24000, 14000}) {  // 14000: the all-pass would leave the range
    Set("DPHD Speaker Audio Custom Size", hertz);
    EXPECT_EQ(Write(0x04), E_FAIL) << hertz;
  }
  Set("DPHD Speaker Audio Custom Size", 185);
  Set("DPHD Compressor Level", -1);
  EXPECT_EQ(Write(0x04), E_FAIL);
  EXPECT_EQ(driver.Sent(), "");

  mode = FullMode();
  Set("DPHD Speaker Analysis Size", 165);
  EXPECT_EQ(Write(0x04), S_OK);  // the analysis size alone does not ask for coefficients
  EXPECT_EQ(driver.Sent(), "04");
}

TEST_F(SkylakeBlocks, CustomSpaceCutoffSendsItsHighPassFirst) {
  Erase("Space HPF Cutoff Freq");
  Set("Space HPF Custom Freq", 360);
  EXPECT_EQ(Write(0x05), S_OK);
  EXPECT_EQ(driver.Sent(), "10 05");
  EXPECT_EQ(Word(driver.held[0x05], 20), 9);
  const auto high_pass = ButterworthWords<std::int32_t>(360, 2);
  EXPECT_EQ(std::memcmp(driver.held[0x10].data(), high_pass.data(), 32), 0);
  Set("Space HPF Custom Freq", 400);  // one of the list
  EXPECT_EQ(Write(0x05), S_OK);
  EXPECT_EQ(driver.Sent(), "05");
  Set("Space HPF Custom Freq", 24000);
  EXPECT_EQ(Write(0x05), E_FAIL);
  Erase("Space HPF Custom Freq");
  EXPECT_EQ(Write(0x05), E_FAIL);
  EXPECT_EQ(driver.Sent(), "");
}

TEST_F(SkylakeBlocks, BandGainIsReadChangedAndWritten) {
  driver.held = FullModeBlocks();
  EXPECT_EQ(dsp.SetGEQBandGain(2, -30, 1), S_OK);
  EXPECT_EQ(HalfWord(driver.held[0x07], 8), 2900);
  EXPECT_EQ(dsp.SetGEQBandGain(4, 32767, 1), S_OK);
  EXPECT_EQ(HalfWord(driver.held[0x07], 12), 23060);
  driver.requests.clear();
  driver.held[0x07][4] = driver.held[0x07][5] = 0;  // another band below its range
  EXPECT_EQ(dsp.SetGEQBandGain(0, 0, 1), S_OK);
  driver.held[0x07][4] = driver.held[0x07][5] = 0;
  EXPECT_EQ(dsp.SetGEQBandGain(1, 0, 1), E_FAIL);
  EXPECT_EQ(driver.Sent(), "07");
  driver.unreadable = {0x07};
  EXPECT_EQ(dsp.SetGEQBandGain(3, 0, 1), FakeSkylakeDriver::kRefusal);
  EXPECT_EQ(dsp.SetGEQBandGain(5, 0, 1), E_INVALIDARG);
  EXPECT_EQ(dsp.SetGEQBandGain(-1, 0, 1), E_INVALIDARG);
}

// Whatever controls a mode holds, the driver (which checks every block) only sees sound blocks.
TEST_F(SkylakeBlocks, RandomModesNeverSendABlockOutOfItsRanges) {
  std::mt19937 random(20260117);
  const auto pick = [&](int low, int high) {
    return std::uniform_int_distribution(low, high)(random);
  };
  std::vector<std::string> names;
  for (const auto& [name, value] : FullMode()) names.push_back(name);
  for (const auto& [name, value] : Controls(R"(
DPHD Speaker Audio Custom Size=0 DPHD Speaker Analysis Custom Size=0 Space HPF Custom Freq=0
Custom Filter Type=0 MXHP DialogClarity Enable=0 MXHP DialogClarity Level=0 PEQ Left Band 0 Enable=0
PEQ Left Band 0 Frequency=0 PEQ Left Band 0 Q Factor=0 PEQ Left Band 0 Gain=0
PEQ Left Band 0 Type=0)"))
    names.push_back(name);
  std::vector<boost::any> oddities = {boost::any(), boost::any(true), boost::any(1e300)};
  for (const char* text : {"", "Enabled", "nan", "-inf", "1e40", "0.5", "HpfA", "Fir257", "9",
                           "VQ3D-PX3D", "Custom", "\xFF\xFE"})
    oddities.emplace_back(std::string(text));
  const auto any_of = [&](const auto& items) {
    return items[static_cast<std::size_t>(pick(0, static_cast<int>(items.size()) - 1))];
  };
  for (int round = 0; round < 300; ++round) {
    mode = FullMode();
    for (int change = pick(1, 12); change > 0; --change) {
      const std::string name = any_of(names) + (pick(0, 5) == 0 ? " Float" : "");
      const int kind = pick(0, 4);
      if (kind == 0) mode.erase(name);
      if (kind == 1 || kind == 2) Put(mode, name, any_of(oddities));
      if (kind == 3) Put(mode, name, pick(std::numeric_limits<int>::min(), 0x7FFFFFFF));
      if (kind == 4) Put(mode, name, pick(-300, 300));
    }
    driver.unreadable = {static_cast<std::uint32_t>(pick(1, 24))};
    driver.refused = {static_cast<std::uint32_t>(pick(1, 24))};
    for (std::uint32_t number = 1; number <= 13; ++number) Write(number);
    EXPECT_NE(driver.Sent(), "");
  }
}

}  // namespace
}  // namespace orv
