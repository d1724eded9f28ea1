#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <map>
#include <vector>

#include "broadwell_mode.h"
#include "fake_skylake_driver.h"
#include "intel_dsp/broadwell/processors.h"
#include "platform/text.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using testing::ElementsAre;

using Dsp = KELAPOIntelDSP_BRW;
using Process = void (Dsp::*)(const ControlValueMap&, std::uint8_t);

// Keeps what it is sent.
class FakeBroadwellDriver final : public BroadwellDriver {
 public:
  std::map<std::uint32_t, Bytes> held;
  std::vector<std::uint32_t> sent;
  std::map<std::uint32_t, HRESULT> statuses;  // besides 0
  bool readable = true;

  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t) override {
    status = readable ? S_OK : E_ACCESSDENIED;
    if (readable) std::memcpy(buffer, held.at(parameter).data(), size);
    return readable;
  }
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t apply) override {
    EXPECT_EQ(apply, 1);
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    sent.push_back(parameter);
    held[parameter] = Bytes(bytes, bytes + size);
    const auto other = statuses.find(parameter);
    status = other == statuses.end() ? S_OK : other->second;
    return true;
  }
  std::uint32_t last_error() const override { return 31; }
};

class BroadwellProcessorsTest : public testing::Test {
 protected:
  BroadwellProcessorsTest() {
    for (const auto& [name, value] : BroadwellMode()) Put(map_, name, value);
  }
  // Why the processor gave up.
  std::string Failure(Process process) {
    try {
      (processors_.*process)(map_, 1);
    } catch (const IntelException& error) {
      return error.what();
    }
    return "nothing";
  }
  HRESULT Write(const wchar_t* name, VARTYPE type, LONGLONG number) {
    VARIANT value;
    VariantInit(&value);
    value.vt = type;
    value.llVal = number;
    driver_.sent.clear();
    return processors_.SetProperty(name, 1, value);
  }

  ControlValueMap map_;
  FakeBroadwellDriver driver_;
  KELAPOIntelDSP_BRW processors_{driver_};
  DiagnosticLog log_;
};

TEST_F(BroadwellProcessorsTest, SuiteBecomesTheModulesParameters) {
  processors_.ProcessHPFControls(map_, 1);
  processors_.ProcessEvenvolumeControls(map_, 1);
  processors_.ProcessHLControls(map_, 1);
  processors_.ProcessAMHDControls(map_, 1);
  processors_.ProcessGlobalControls(map_, 1);
  EXPECT_THAT(driver_.sent, ElementsAre(24, 20, 22, 100, 101, 21, 0, 1, 2, 3, 4, 5, 6));
  EXPECT_EQ(driver_.held[1], FromHex("ad65"));
  EXPECT_EQ(driver_.held[2], FromHex("ff7f"));
  EXPECT_EQ(driver_.held[4], FromHex("2740"));
  EXPECT_EQ(driver_.held[5], FromHex("01000000"));
  EXPECT_EQ(driver_.held[20], FromHex("010000001408000000000040"));
  EXPECT_EQ(driver_.held[22], FromHex("0100000078000000209eec0f00200000"));
  EXPECT_EQ(driver_.held[21], FromHex("010000000b000000010000009a590000"
                                      "01000000090000000100000033330020"
                                      "ff7f000000000000010000000200000001000000"
                                      "66660000090000000900000001000000"
                                      "010000003d2a000001000000cd4c0000"
                                      "00000000cd0c0000"));
  EXPECT_EQ(driver_.held[24].size(), 34U);
  EXPECT_EQ(Word(driver_.held[24], 0), 4);
  EXPECT_EQ(driver_.held[100].size(), 96U);

  Put(map_, "ZENSND-DPHD_Speaker Custom Table", 1);
  Put(map_, "ZENSND-Space HPF Custom Freq Table", 1);
  processors_.ProcessAMHDControls(map_, 1);
  EXPECT_EQ(Word(driver_.held[100], 0), 25751478);
  EXPECT_EQ(Word(driver_.held[100], 92), 1867511808);
  EXPECT_EQ(Word(driver_.held[101], 4), 438374880);
  EXPECT_EQ(Word(driver_.held[101], 28), 1271898880);
}

TEST_F(BroadwellProcessorsTest, ControlsOfTheOtherStageStandIn) {
  for (const auto& [name, value] : Controls("Order=3 Frequency=100 Enable=1", "ZENSND-HPF ")) {
    Put(map_, "MFX:" + name, value);
    map_.erase(name);
  }
  processors_.ProcessHPFControls(map_, 1);
  processors_.ProcessGlobalControls(map_, 1);
  EXPECT_EQ(Word(driver_.held[24], 0), 3);
  EXPECT_EQ(Word(driver_.held[5], 0), 1);
  EXPECT_TRUE(log_.Contains(L"Trying MFX:ZENSND-HPF Order instead: "));
}

TEST_F(BroadwellProcessorsTest, PresetsFitWhateverTheOrder) {
  for (const auto& [order, size] : std::map<int, std::size_t>{{1, 34}, {4, 34}, {24, 154}}) {
    Put(map_, "ZENSND-HPF Order", order);
    Put(map_, "ZENSND-HPF Filter Cfg", "Default");
    processors_.ProcessHPFControls(map_, 1);
    EXPECT_EQ(driver_.held[24].size(), size);
    EXPECT_EQ(HalfWord(driver_.held[24], 4 + 2 * 13), 26101);
    Put(map_, "ZENSND-HPF Filter Cfg", "Other");
    processors_.ProcessHPFControls(map_, 1);
    EXPECT_EQ(driver_.held[24].size(), std::max<std::size_t>(size, 46));
    EXPECT_EQ(HalfWord(driver_.held[24], 4 + 2 * 19), 31051);
  }
  Put(map_, "ZENSND-Filter Cfg", "Default");
  processors_.ProcessPEQControls(map_, 1, Dsp::kBothChannels);
  EXPECT_EQ(driver_.held[25].size(), 60U);
  EXPECT_EQ(Word(driver_.held[26], 0), 2);
  Put(map_, "ZENSND-Filter Cfg", "Other");
  processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
  EXPECT_EQ(driver_.held[25].size(), 108U);
  EXPECT_EQ(Word(driver_.held[25], 104), 1712821632);
}

TEST_F(BroadwellProcessorsTest, WhatCannotBeDesignedIsNotSent) {
  for (const int order : {0, -1, 25, std::numeric_limits<int>::max()}) {
    Put(map_, "ZENSND-HPF Order", order);
    EXPECT_EQ(Failure(&Dsp::ProcessHPFControls), "HPF - filter order out of range");
  }
  Put(map_, "ZENSND-HPF Order", 2);
  for (const int frequency : {0, 24000, -60}) {
    Put(map_, "ZENSND-HPF Frequency", frequency);
    EXPECT_EQ(Failure(&Dsp::ProcessHPFControls), "HPF - Unable to set HPF coefficients.");
  }
  Put(map_, "ZENSND-DPHD Speaker Audio Custom Size", 20000);
  EXPECT_EQ(Failure(&Dsp::ProcessAMHDControls), "AMHD - Setting of AMHD controls failed.");
  map_.erase("ZENSND-DPHD Speaker Audio Custom Size");
  Put(map_, "ZENSND-Space HPF Custom Freq", "Custom");  // and no frequency
  EXPECT_EQ(Failure(&Dsp::ProcessAMHDControls), "AMHD - Setting of AMHD controls failed.");
  EXPECT_THAT(driver_.sent, ElementsAre(100));
  Put(map_, "ZENSND-DPHD Speaker Analysis Size", 150);
  EXPECT_EQ(Failure(&Dsp::ProcessAMHDControls),
            "AMHD - Both analysis and audio speaker sizes must both be custom or not custom.");
  processors_.ProcessHPFAndPEQControls(map_, 1);
  EXPECT_THAT(driver_.sent, ElementsAre(100, 25, 26));
  EXPECT_TRUE(log_.Contains(L"ProcessHPFControls() failed: HPF - Unable to set HPF"));
}

TEST_F(BroadwellProcessorsTest, BandsEndAtTheFirstMissingOne) {
  const auto band = [&](const char* name, const char* values) {
    for (const auto& [control, value] : Controls(values, std::string("ZENSND-PEQ ") + name + ' '))
      Put(map_, control, value);
  };
  band("Left Band 2", "Enable=0 Frequency=500 Q Factor=100 Gain=60 Type=0");
  processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
  EXPECT_EQ(driver_.held[25].size(), 36U);
  // No known type: neither its frequency nor its gain count.
  band("Right Band 0", "Enable=0 Frequency=90000 Q Factor=100 Gain=60 Type=7");
  processors_.ProcessPEQControls(map_, 1, Dsp::kRight);
  EXPECT_THAT(driver_.sent, ElementsAre(25, 26));
  EXPECT_EQ(driver_.held[26], FromHex("01000000020000000000004000000000000000000000000000000000"
                                      "0200000000000040"));
  band("Right Band 1", "Enable=0 Frequency=24000 Q Factor=100 Gain=60 Type=2");
  processors_.ProcessPEQControls(map_, 1, Dsp::kRight);
  EXPECT_TRUE(log_.Contains(L"Setting of right PEQ parameters failed, error 87\n"));
  map_.erase("ZENSND-PEQ Left Band 0 Gain");
  processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
  EXPECT_TRUE(log_.Contains(L"Error: ZENSND-PEQ Left Band 0 Gain - Can't find integer value.\n"));
  EXPECT_THAT(driver_.sent, ElementsAre(25, 26));
  map_.erase("ZENSND-PEQ Left Band 0 Enable");
  driver_.statuses[25] = 1;
  processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
  EXPECT_EQ(driver_.held[25].size(), 12U);  // no bands: the overall gain
  EXPECT_TRUE(log_.Contains(L"Setting of left PEQ parameters failed, error 31\n"));
}

TEST_F(BroadwellProcessorsTest, RefusedParametersNameTheirGroup) {
  const std::pair<Process, const char*> groups[] = {
      {&Dsp::ProcessGlobalControls, "Global - Settings of parameters in driver failed."},
      {&Dsp::ProcessEvenvolumeControls, "Evenvolume - Setting of Evenvolume controls failed."},
      {&Dsp::ProcessHLControls,
       "Hard Limiter - Error: Setting of Hard Limiter Controls failed. Verify values in XML."},
      {&Dsp::ProcessHPFControls, "HPF - Unable to set HPF coefficients."},
      {&Dsp::ProcessAMHDControls, "AMHD - Setting of AMHD controls failed."}};
  for (const std::uint32_t parameter : {3U, 20U, 22U, 24U, 100U}) driver_.statuses[parameter] = 1;
  for (const auto& [process, reason] : groups) EXPECT_EQ(Failure(process), reason);
  EXPECT_THAT(driver_.sent, ElementsAre(0, 1, 2, 3, 20, 22, 24, 100));
}

TEST_F(BroadwellProcessorsTest, HardLimiterKeepsWhatTheModuleHolds) {
  map_.erase("ZENSND-Hard Limiter Output Gain");
  driver_.held[22] = FromHex("00000000f0000000000000040010");
  driver_.held[22].resize(16);
  const Bytes before = driver_.held[22];
  processors_.ProcessHLControls(map_, 1);
  EXPECT_EQ(driver_.held[22], before);
  EXPECT_THAT(driver_.sent, ElementsAre(22));
  driver_.readable = false;
  EXPECT_EQ(Failure(&Dsp::ProcessHLControls),
            "Hard Limiter - Getting of Hard Limiter controls failed.");
}

TEST_F(BroadwellProcessorsTest, SingleControlsChangeOneField) {
  driver_.held = {{20, Bytes(12)}, {21, Bytes(92)}, {22, Bytes(16)}};
  const struct {
    const wchar_t* name;
    VARTYPE type;
    LONGLONG number;
    std::uint32_t parameter;
    std::size_t offset, width;
    std::int64_t expected;
  } rows[] = {{L"ZENSND-DC Level", VT_I4, 50, 21, 28, 2, 16384},
              // 25 %: the low half of the number
              {L"ZENSND-Definition Level", VT_I8, 0x700000019, 21, 80, 2, 8192},
              {L"AMHD Enable", VT_I4, 7, 21, 0, 4, 1},
              {L"ZENSND-AMHD Input Mode", VT_I4, 20, 21, 4, 4, 2111},
              {L"ZENSND-Hard Limiter Output Gain", VT_I4, -60, 22, 12, 2, 4106},
              {L"ZENSND-EVolHD Enable", VT_I8, -1, 20, 0, 4, 1},
              {L"ZENSND-Headroom Gain", VT_I4, -60, 4, 0, 2, 16423},
              {L"ZENSND-AEQ Enable", VT_I4, 2, 6, 0, 4, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(Utf8FromWide(row.name));
    EXPECT_EQ(Write(row.name, row.type, row.number), S_OK);
    EXPECT_THAT(driver_.sent, ElementsAre(row.parameter));
    const Bytes& held = driver_.held[row.parameter];
    EXPECT_EQ(row.width == 2 ? HalfWord(held, row.offset) : Word(held, row.offset), row.expected);
  }
  EXPECT_EQ(Write(L"ZENSND-Space HPF Custom Freq", VT_I4, 350), S_OK);
  EXPECT_THAT(driver_.sent, ElementsAre(101, 21));
  EXPECT_EQ(Word(driver_.held[21], 20), 9);
  driver_.statuses[101] = 1;
  EXPECT_EQ(Write(L"ZENSND-Space HPF Custom Freq", VT_I4, 500), S_OK);
  EXPECT_THAT(driver_.sent, ElementsAre(101));
  EXPECT_EQ(Write(L"ZENSND-DC Enable", VT_I8, 1), E_INVALIDARG);
  EXPECT_EQ(Write(L"ZENSND-DC Level", VT_BSTR, 0), E_INVALIDARG);
  driver_.readable = false;
  EXPECT_EQ(Write(L"ZENSND-DC Level", VT_I4, 10), S_OK);
  EXPECT_EQ(Write(L"ZENSND-Nothing", VT_I4, 10), S_OK);
  EXPECT_EQ(Write(L"ZENSND-Process Enable", VT_I4, 0), S_OK);  // not one of them
  EXPECT_THAT(driver_.sent, ElementsAre());
  VARIANT value;
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-DC Level", 0, value), E_FAIL);
  driver_.readable = true;
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-DC Level", 0, value), S_OK);
  EXPECT_EQ(value.vt, VT_I4);
  EXPECT_EQ(value.lVal, 16384);
  driver_.held[21][48] = 5;
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-DPHD Enable", 0, value), S_OK);
  EXPECT_EQ(value.lVal, 1);
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-Surround Level", 0, value), E_NOTIMPL);
}

TEST_F(BroadwellProcessorsTest, ParametersAreReadAsPeopleReadThem) {
  processors_.ProcessAMHDControls(map_, 1);
  processors_.ProcessEvenvolumeControls(map_, 1);
  processors_.ProcessHPFControls(map_, 1);
  const auto expect = [&](std::uint32_t parameter, std::map<std::string, std::string> texts) {
    for (const DecodedField& field :
         DecodeBroadwellBlock(parameter, std::as_bytes(std::span(driver_.held[parameter])))) {
      if (const auto text = texts.extract(field.control)) {
        EXPECT_EQ(field.text, text.mapped());
      }
    }
    for (const auto& [control, text] : texts) ADD_FAILURE() << "no field " << control;
  };
  expect(20, {{"ZENSND-EVolHD LKFS", "-24.0 dB"}, {"ZENSND-EVolHD Level Intensity", "50 %"}});
  expect(21, {{"ZENSND-AMHD Input Mode", "ZENSND-2_0_1"},
              {"ZENSND-DPHD Speaker Audio Size", "custom"}});
  expect(24, {{"order", "4"}, {"section 1 shift", "2"}});
  EXPECT_EQ(BroadwellBlockName(25), "Left PEQ coefficients");
  EXPECT_EQ(BroadwellBlockName(23), "");
  const std::vector<std::byte> bytes(200);
  for (std::uint32_t parameter = 0; parameter < 110; ++parameter) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      std::size_t end = 0;
      for (const DecodedField& field : DecodeBroadwellBlock(parameter, {bytes.data(), size}))
        end = std::max(end, field.offset + 1);
      EXPECT_LE(end, size);
    }
  }
}

}  // namespace
}  // namespace orv
