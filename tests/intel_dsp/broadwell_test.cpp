// What the driver's client and the processors refuse, leave out and report. The bytes they send are
// compared with the reference data in broadwell_reference_test.cpp.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broadwell_mode.h"
#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/broadwell/processors.h"
#include "intel_dsp/filter_designs.h"
#include "intel_machine.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using testing::ElementsAre;

using Bytes = std::vector<std::uint8_t>;
using Dsp = KELAPOIntelDSP_BRW;
using Client = ORVAPOIntelDriverInterface_BRW;
using Kind = DriverMisbehaviour::Kind;
using Process = void (Dsp::*)(const ControlValueMap&, std::uint8_t);

constexpr std::uint32_t kModule = broadwell::kPostProcessingModule;
constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

class BroadwellTest : public testing::Test {
 protected:
  BroadwellTest() {
    for (const auto& [name, value] : BroadwellMode()) Put(map_, name, value);
  }
  ~BroadwellTest() override { machine_.ExpectNothingRefused(); }

  // Why the processor gave up.
  std::string Failure(Process process) {
    try {
      (processors_.*process)(map_, 1);
    } catch (const IntelException& error) {
      return error.what();
    }
    return "nothing";
  }
  HRESULT Write(const wchar_t* name, LONGLONG number, VARTYPE type = VT_I4) {
    VARIANT value{};
    value.vt = type;
    value.llVal = number;
    return processors_.SetProperty(name, 1, value);
  }
  void Band(const std::string& name, const char* values) {
    for (const auto& [control, value] : Controls(values, "ZENSND-PEQ " + name + ' '))
      Put(map_, control, value);
  }
  // Status 1 for what is written to these parameters.
  void Refuse(std::initializer_list<std::uint32_t> parameters) {
    for (const std::uint32_t parameter : parameters) {
      DriverMisbehaviour rule = Misbehave(Kind::Status, request::kParameter, 1);
      rule.direction = DriverMisbehaviour::Direction::Set;
      rule.parameter = parameter;
      machine_.broadwell().misbehaviour.push_back(rule);
    }
  }
  void MisbehaveWhenRead(Kind kind) {
    DriverMisbehaviour rule = Misbehave(kind, request::kParameter, E_ACCESSDENIED, 8);
    rule.direction = DriverMisbehaviour::Direction::Get;
    machine_.broadwell().misbehaviour = {rule};
  }
  Bytes Held(std::uint32_t parameter, std::size_t size) {
    Bytes bytes(size);
    HRESULT status = E_FAIL;
    client_.GetParameter(status, parameter, bytes.data(), static_cast<std::uint32_t>(size), 0);
    return bytes;
  }

  ControlValueMap map_;
  DiagnosticLog log_;
  IntelMachine machine_;
  HRESULT status_ = E_FAIL;
  Client client_{*machine_.get(), status_, kModule};
  Dsp processors_{client_};
  std::uint8_t version_ = 9;
  std::uint8_t features_ = 9;
  std::string name_ = "stale";
  std::string text_ = "stale";
};

TEST_F(BroadwellTest, ModuleIsSwitchedOnAndAnswers) {
  machine_.broadwell().interfaces = 3;
  machine_->faults().Clear();
  machine_->faults().FailNth("device.open", 1, kDeviceAccessDenied);  // the second opens
  Client client(*machine_.get(), status_, kModule);
  EXPECT_EQ(status_, S_OK);
  EXPECT_EQ(machine_->faults().Calls("device.open"), 2U);
  EXPECT_TRUE(client.GetAPIVersion(status_, version_, features_));
  EXPECT_EQ(version_ * 10 + features_, 15);
  EXPECT_TRUE(client.GetModuleInfo(status_, name_, text_));
  EXPECT_EQ(name_ + " " + text_, "Post Processing Module 2.1.0");

  std::array<std::byte, 12> read;
  EXPECT_TRUE(client.GetParameter(status_, 20, read.data(), 12, 0));
  EXPECT_FALSE(client.short_answer());
  ExpectLines(log_, {L"| Broadwell OpenIntelDriver() returned handle 0x",
                     L"| ORVAPOIntelDriverInterface_BRW::SetStatus(), OK - 0x0\n",
                     L"| Intel GetAPIVersion: 0x0, 1 5\n",
                     L"| Intel GetModuleInfo: 0x0, Post Processing Module, 2.1.0\n",
                     L"| GetParameter returned is 64017\n"});
}

TEST_F(BroadwellTest, AbsentDriverFailsEveryRequest) {
  machine_->description().drivers.broadwell.reset();
  Client client(*machine_.get(), status_, kModule);
  EXPECT_EQ(status_, E_FAIL);
  EXPECT_EQ(log_.Count(L"SetStatus()"), 1U) << "of the fixture's client";
  EXPECT_FALSE(client.GetAPIVersion(status_, version_, features_));
  EXPECT_FALSE(client.GetModuleInfo(status_, text_, text_));
  EXPECT_FALSE(client.SetStatus(status_));
  EXPECT_FALSE(client.SetParameter(status_, 0, "\1\0\0", 4, 0));
  EXPECT_FALSE(client.GetParameter(status_, 0, &version_, 1, 0));
  EXPECT_EQ(client.last_error(), kDeviceInvalidHandle);
  ExpectLines(
      log_, {L"| Intel GetAPIVersion DeviceIoControl failed, error 6\n",
             L"| Intel GetModuleInfo DeviceIoControl failed, error 6\n",
             L"| ORVAPOIntelDriverInterface_BRW::SetStatus(), DeviceIoControl failed, error 6\n"});
}

TEST_F(BroadwellTest, NegativeStatusIsNotAFailureOfTheTransfer) {
  machine_->faults().Clear();
  machine_->faults().FailNth("device.control", 1, kDeviceGenFailure);
  EXPECT_FALSE(client_.SetStatus(status_));
  EXPECT_EQ(client_.last_error(), kDeviceGenFailure);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, "", kRefusal)};
  std::array<std::byte, 4> block = {};
  EXPECT_TRUE(client_.SetParameter(status_, 0, block.data(), 4, 0));
  EXPECT_EQ(status_, kRefusal);
  EXPECT_EQ(client_.last_error(), 0U);
  EXPECT_TRUE(client_.GetParameter(status_, 0, block.data(), 4, 0));
  EXPECT_EQ(status_, kRefusal);
  EXPECT_FALSE(client_.GetAPIVersion(status_, version_, version_));
  EXPECT_EQ(version_, 9);
  EXPECT_FALSE(client_.GetModuleInfo(status_, name_, name_));
  EXPECT_EQ(name_, "");
}

TEST_F(BroadwellTest, ShortAnswersAreTakenAndKnown) {
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Short, "", 0, 1)};
  std::array<std::byte, 92> block;
  block.fill(std::byte{0xEE});
  EXPECT_TRUE(client_.GetParameter(status_, 21, block.data(), 92, 0));
  EXPECT_TRUE(client_.short_answer());
  EXPECT_EQ(block[91], std::byte{0});
  EXPECT_TRUE(client_.GetModuleInfo(status_, name_, text_));
  EXPECT_EQ(name_ + text_, "P");
  EXPECT_TRUE(client_.GetAPIVersion(status_, version_, features_));
  EXPECT_EQ(version_ * 10 + features_, 10);
  const std::vector<std::byte> huge(broadwell::kLargestParameter + 1);
  EXPECT_FALSE(client_.SetParameter(status_, 25, huge.data(), 64001, 0));
  EXPECT_EQ(status_, E_INVALIDARG);
}

TEST_F(BroadwellTest, SuccessIsReported) {
  map_.erase("ZENSND-HPF Order");
  Put(map_, "MFX:ZENSND-HPF Order", 2);
  map_.erase("ZENSND-HPF Frequency");
  Put(map_, "MFX:ZENSND-HPF Frequency", 100);
  processors_.ProcessHPFAndPEQControls(map_, 1);
  processors_.ProcessEvenvolumeControls(map_, 1);
  processors_.ProcessHLControls(map_, 1);
  processors_.ProcessAMHDControls(map_, 1);
  EXPECT_EQ(Write(L"ZENSND-DC Level", 40), S_OK);
  EXPECT_EQ(Write(L"ZENSND-DC Enable", 1), S_OK);
  EXPECT_EQ(Write(L"ZENSND-AEQ Enable", 1), S_OK);
  EXPECT_EQ(Write(L"ZENSND-EVolHD Enable", 1, VT_I8), S_OK);
  ExpectLines(log_, {L"| Trying MFX:ZENSND-HPF Order instead: ZENSND-HPF Order - ",
                     L"| Trying MFX:ZENSND-HPF Frequency instead: ZENSND-HPF Frequency - ",
                     L"| Setting of HPF coefficients returned status 0x0\n",
                     L"| Setting of left PEQ succeeded, status 0x0. Buffer size = 36\n",
                     L"| Setting of right PEQ succeeded, status 0x0. Buffer size = 12\n",
                     L"|   Writing Evenvolume Controls successful, 0\n",
                     L"| Setting Hard Limiter controls (Enable and Output Gain) from VM",
                     L"| OK: Setting HardLimiter Controls was successful, 0\n",
                     L"| Writing AMHD Controls successful, 0\n", L"| Setting level to 40%\n",
                     L"| Read status successfully, cur value = 13107.\n",
                     L"| AMHD Enable Controls 1\n", L"| \n InteDSP: ZENSND-AEQ Enable 1\n",
                     L"| Writing Evenvolume Controls successful, 0\n"});
}

TEST_F(BroadwellTest, DesignsThatAreRefusedAreNotSent) {
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
  EXPECT_THAT(machine_.Sent(), ElementsAre(100));
  Put(map_, "ZENSND-DPHD Speaker Audio Size", 150);
  EXPECT_EQ(Failure(&Dsp::ProcessAMHDControls),
            "AMHD - Both analysis and audio speaker sizes must both be custom or not custom.");
  processors_.ProcessHPFAndPEQControls(map_, 1);
  EXPECT_THAT(machine_.Sent(), ElementsAre(25, 26));
  ExpectLines(log_, {L"ProcessHPFControls() failed: HPF - Unable to set HPF coefficients.\n"});
}

TEST_F(BroadwellTest, BandThatIsNotAFilterLeavesTheOthers) {
  const FilterBand unity = {kUnknownBandType, 0, 0, 0, 0};
  const FilterBand other = {kORVFilter_Traditional, 500, 1, 6, 0};
  Band("Left Band 1", "Enable=1 Frequency=500 Q Factor=100 Gain=60 Type=0");
  Band("Left Band 3", "Enable=1 Frequency=500 Q Factor=100 Gain=60 Type=0");  // behind a gap
  for (const char* band : {"Frequency=0 Q Factor=100 Type=0", "Frequency=-1 Q Factor=100 Type=1",
                           "Frequency=1000 Q Factor=0 Type=2", "Frequency=9 Q Factor=-1 Type=0",
                           "Frequency=90000 Q Factor=100 Type=7"}) {  // of no type
    Band("Left Band 0", band);
    processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
    const FilterBand bands[] = {unity, other};
    EXPECT_EQ(machine_->ReceivedRecords().back().bytes, broadwell::EqualizerBlock(bands)) << band;
  }
  EXPECT_EQ(log_.Count(L"Left Band 0 passes its input on"), 4U);
  machine_.Sent();
  // Half the sample rate, and a gain that no shift reaches.
  for (const char* band : {"Frequency=24000 Q Factor=100 Type=2", "Frequency=20000 Q Factor=50"}) {
    Band("Right Band 0", "Enable=0 Gain=60 Type=0");
    Band("Right Band 0", band);
    const std::size_t refused = log_.Count(L"Setting of right PEQ parameters failed, error 87\n");
    processors_.ProcessPEQControls(map_, 1, Dsp::kRight);
    EXPECT_EQ(log_.Count(L"Setting of right PEQ parameters failed, error 87\n"), refused + 1);
  }
  map_.erase("ZENSND-PEQ Left Band 0 Gain");
  processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  ExpectLines(log_, {L"Error: ZENSND-PEQ Left Band 0 Gain - Can't find integer value.\n"});
}

TEST_F(BroadwellTest, RefusedParametersNameTheirGroup) {
  const std::pair<Process, const char*> groups[] = {
      {&Dsp::ProcessGlobalControls, "Global - Settings of parameters in driver failed."},
      {&Dsp::ProcessEvenvolumeControls, "Evenvolume - Setting of Evenvolume controls failed."},
      {&Dsp::ProcessHLControls,
       "Hard Limiter - Error: Setting of Hard Limiter Controls failed. Verify values in XML."},
      {&Dsp::ProcessHPFControls, "HPF - Unable to set HPF coefficients."},
      {&Dsp::ProcessAMHDControls, "AMHD - Setting of AMHD controls failed."}};
  Refuse({3, 20, 22, 24, 25, 100});
  for (const auto& [process, reason] : groups) EXPECT_EQ(Failure(process), reason);
  processors_.ProcessPEQControls(map_, 1, Dsp::kLeft);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0, 1, 2, 3, 20, 22, 24, 100, 25));
  ExpectLines(log_, {L"Setting of left PEQ parameters failed, error 0\n"});
}

TEST_F(BroadwellTest, HardLimiterIsReadOnlyForAMissingControl) {
  processors_.ProcessHLControls(map_, 1);
  const Bytes before = Held(22, 16);
  machine_.Sent();
  Put(map_, "ZENSND-Hard Limiter Enable", 5);
  EXPECT_NE(Failure(&Dsp::ProcessHLControls), "nothing");
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  EXPECT_FALSE(log_.Contains(L"OK: Got Hard Limiter"));
  map_.erase("ZENSND-Hard Limiter Output Gain");
  processors_.ProcessHLControls(map_, 1);
  EXPECT_EQ(Held(22, 16), before);
  EXPECT_THAT(machine_.Sent(), ElementsAre(22));
  for (const Kind kind : {Kind::Refuse, Kind::Short}) {
    MisbehaveWhenRead(kind);
    EXPECT_EQ(Failure(&Dsp::ProcessHLControls),
              "Hard Limiter - Getting of Hard Limiter controls failed.");
  }
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  ExpectLines(log_, {L"| OK: Got Hard Limiter controls from DSP\n",
                     L"| Error: Failed to get Hard Limiter controls from DSP, error: "});
}

TEST_F(BroadwellTest, OnlyWholeBlocksAndKnownValuesAreWrittenBack) {
  EXPECT_EQ(Write(L"ZENSND-DC Level", 50), S_OK);
  machine_.Sent();
  EXPECT_EQ(Write(L"ZENSND-DC Enable", 1, VT_I8), E_INVALIDARG);
  EXPECT_EQ(Write(L"ZENSND-Nothing", 10), S_OK);
  EXPECT_EQ(Write(L"ZENSND-Process Enable", 0), S_OK);  // not one of them
  EXPECT_EQ(Write(L"ZENSND-AMHD Input Mode", 21), S_OK);
  EXPECT_EQ(Write(L"ZENSND-Space HPF Custom Freq", 24000), S_OK);
  ExpectLines(log_,
              {L"| Variant specified unsupported type 20\n", L"| Error: ZENSND-AMHD Input Mode - ",
               L"| Error: ZENSND-Space HPF Custom Freq - frequency out of range\n"});
  VARIANT value;
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-Surround Level", 0, value), E_NOTIMPL);
  MisbehaveWhenRead(Kind::Uncounted);  // not reported is not short
  EXPECT_EQ(Write(L"ZENSND-DC Level", 50), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(21));
  MisbehaveWhenRead(Kind::Short);
  EXPECT_EQ(Write(L"ZENSND-DC Level", 10), S_OK);
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-DC Level", 0, value), S_OK);
  EXPECT_EQ(value.lVal, 0);
  MisbehaveWhenRead(Kind::Refuse);
  EXPECT_EQ(Write(L"ZENSND-DC Level", 10), S_OK);
  EXPECT_EQ(processors_.GetProperty(L"ZENSND-DC Level", 0, value), E_FAIL);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  machine_.broadwell().misbehaviour.clear();
  Refuse({101});
  EXPECT_EQ(Write(L"ZENSND-Space HPF Custom Freq", 500), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(101));  // and not 21
}

TEST_F(BroadwellTest, PresetsAreDesignsOfThisComponent) {
  using namespace broadwell;
  EXPECT_EQ(HighPassPreset(4, "Default"), HighPassBlock(4, 60));
  EXPECT_EQ(HighPassPreset(6, "Other"), HighPassBlock(6, 60));
  EXPECT_EQ(SpacePreset(), SpaceBlock(360));
  EXPECT_EQ(BassPreset(), BassBlock(185, 165));
  const FilterBand flat[] = {{kORVFilter_Gain, 0, 1, 0, 0}, {kORVFilter_Gain, 0, 1, 0, 0}};
  EXPECT_EQ(EqualizerPreset("Default"), EqualizerBlock(flat));
  const FilterBand bands[] = {
      {0, 50, 3, -12, 0}, {0, 500, 2, 20, 0}, {0, 5000, 2, 6, 0}, {0, 15000, 4, -12, 0}};
  EXPECT_EQ(EqualizerPreset("Other"), EqualizerBlock(bands));
}

}  // namespace
}  // namespace orv
