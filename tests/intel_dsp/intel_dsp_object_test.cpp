#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "broadwell_mode.h"
#include "fake_skylake_driver.h"
#include "frame/text_result.h"
#include "intel_dsp/broadwell/coefficients.h"
#include "intel_dsp/intel_dsp.h"
#include "intel_dsp/intel_verification.h"
#include "intel_machine.h"
#include "support/diagnostic_log.h"
#include "support/failing_allocator.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using testing::ElementsAre;
using Kind = DriverMisbehaviour::Kind;

FakeControls SkylakeMode() {
  FakeControls controls;
  for (const auto& [name, value] : FullMode()) controls[name] = value.ToLong();
  return controls;
}

class IntelDspTest : public testing::Test {
 protected:
  ~IntelDspTest() override {
    EXPECT_EQ(module_.lock_count(), 0U);
    ReleaseIntelDriverClients();
    EXPECT_EQ(machine_->RegisteredEvents(), 0U);
  }
  ComPtr<IKELAPOIntelDSP4> Open(const std::wstring& endpoint = kSpeakers) {
    module_.SetMachine(machine_.get());
    ComPtr<IKELAPOIntelDSP> dsp;
    EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, endpoint, dsp.Put()), S_OK);
    return dsp.As<IKELAPOIntelDSP4>();
  }
  ComPtr<IKELAPOIntelDSP4> OpenSkylake() {
    machine_->description().drivers.broadwell.reset();
    return Open();
  }
  // As class factories make it.
  HRESULT OpenForClient(ComPtr<IKELAPOIntelDSP4>& dsp) {
    module_.SetMachine(machine_.get());
    return CreateIntelDspForClient(module_, nullptr, IID_IKELAPOIntelDSP4, dsp.PutVoid());
  }
  static HRESULT Write(const ComPtr<IKELAPOIntelDSP4>& dsp, FakeControls controls,
                       const wchar_t* technology = nullptr) {
    const OwnedText text(SysAllocString(technology));
    return dsp->WriteControls(FakeMode::Make(std::move(controls)).get(), text.get(), 1);
  }
  static HRESULT Put(const ComPtr<IKELAPOIntelDSP4>& dsp, const wchar_t* name, LONG number) {
    const OwnedText text(SysAllocString(name));
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = number;
    return dsp->put_Property(text.get(), 0, value);
  }
  static HRESULT Get(const ComPtr<IKELAPOIntelDSP4>& dsp, const wchar_t* name, LONG& number) {
    const OwnedText text(SysAllocString(name));
    VARIANT value;
    std::memset(&value, 0xEE, sizeof value);
    const HRESULT status = dsp->get_Property(text.get(), 0, &value);
    number = value.vt == VT_I4 ? value.lVal : -77;
    return status;
  }
  std::uint64_t Signals() { return machine_->EventSignals(kChangeEvent); }

  IntelMachine machine_;
  Module module_{{}, [] { return std::shared_ptr<Machine>(); }};
  DiagnosticLog log_;
};

TEST_F(IntelDspTest, BroadwellIsTakenBeforeSkylake) {
  const auto dsp = Open();
  EXPECT_TRUE(log_.Contains(L"APO VERSION: 3.5.3.1\n"));
  EXPECT_TRUE(log_.Contains(L"status=0x0, OK\n"));
  EXPECT_FALSE(log_.Contains(L"Skylate"));
  BYTE version = 9;
  BYTE features = 9;
  EXPECT_EQ(dsp->GetAPIVersion(&version, &features), S_OK);
  EXPECT_EQ(version * 10 + features, 15);
  EXPECT_EQ(dsp->GetAPIVersion(nullptr, &features), E_POINTER);
  BSTR name = nullptr;
  BSTR text = nullptr;
  EXPECT_EQ(dsp->GetModuleInfo(&name, &text), S_OK);
  const OwnedText owned_name(name);
  const OwnedText owned_text(text);
  EXPECT_EQ(ViewOf(name), L"Post Processing Module");
  EXPECT_EQ(dsp->put_dspDeviceId(name), S_OK);  // of no use there
  EXPECT_EQ(dsp->get_ApoVersion(nullptr), E_POINTER);
  EXPECT_EQ(dsp->put_APOEnable(5, 1), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0));
  LONG enabled = 0;
  EXPECT_EQ(Get(dsp, L"ZENSND-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 1);
  EXPECT_EQ(Put(dsp, L"ZENSND-DC Level", 40), S_OK);
  EXPECT_EQ(Signals(), 1U);
  EXPECT_THAT(machine_.Sent(), ElementsAre(21));
  machine_.ExpectNothingRefused();
}

TEST_F(IntelDspTest, WithoutDriversThereIsNoObject) {
  machine_->description().drivers = {};
  machine_->description().events.clear();
  module_.SetMachine(machine_.get());
  auto* dsp = reinterpret_cast<IKELAPOIntelDSP*>(&machine_);
  EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kSpeakers, &dsp), E_FAIL);
  EXPECT_EQ(dsp, nullptr);
  for (const wchar_t* line :
       {L"OpenEvent() failed DWORD: 2, HRESULT: 0x80070002\n",
        L"Warning: Failed to open Broadwell driver, status=0x80004005\n",
        L"Trying to open Skylate driver using default endpoint, status=0x80004005\n",
        L"WARNING: Failed to open access to Skylake DSP, endpoint: {0.0.0.00000000}.",
        L"Error, failed to access Intel driver/module. \n", L"status=0x80004005, FAILED\n"})
    EXPECT_TRUE(log_.Contains(line)) << line;
  module_.SetMachine(nullptr);
  EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kSpeakers, &dsp), E_UNEXPECTED);
}

TEST_F(IntelDspTest, RemarkOfTheBroadwellModuleLeavesNoDsp) {
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, request::kModules, 1)};
  ComPtr<IKELAPOIntelDSP4> dsp;
  EXPECT_EQ(OpenForClient(dsp), S_OK);
  EXPECT_FALSE(log_.Contains(L"Skylate"));
  EXPECT_EQ(Write(dsp, BroadwellMode()), S_OK);
  EXPECT_EQ(Put(dsp, L"ZENSND-DC Level", 40), E_FAIL);
  EXPECT_EQ(Signals(), 2U);  // of the mode, and ahead of what the property comes to
  EXPECT_EQ(Put(dsp, nullptr, 40), E_FAIL);
  EXPECT_EQ(Signals(), 2U);
  EXPECT_EQ(dsp->put_APOEnable(1, 1), E_FAIL);
  LONG number = 0;
  EXPECT_EQ(Get(dsp, L"ZENSND-Process Enable", number), E_NOTIMPL);
  BYTE byte = 9;
  EXPECT_EQ(dsp->GetAPIVersion(&byte, &byte), E_FAIL);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  std::wstring id = kSpeakers;
  EXPECT_EQ(dsp->put_dspDeviceId(id.data()), S_OK);  // now it is a Skylake one
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  id = kHdmi;
  EXPECT_EQ(dsp->put_dspDeviceId(id.data()), E_FAIL);
  EXPECT_EQ(Put(dsp, L"VQ3D-Tone Enable", 1), E_FAIL);
  EXPECT_EQ(dsp->put_dspDeviceId(nullptr), E_POINTER);
}

TEST_F(IntelDspTest, WholeModeIsSentAndVerified) {
  const auto dsp = OpenSkylake();
  EXPECT_EQ(machine_->RegisteredEvents(), 1U);
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  std::vector<std::uint32_t> sent = machine_.Sent();
  for (std::uint32_t& parameter : sent) parameter &= 0xFF;
  EXPECT_THAT(sent, ElementsAre(0x01, 0x11, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A,
                                0x0B, 0x0C, 0x0D, 0x0E));
  EXPECT_EQ(Signals(), 1U);
  for (const wchar_t* line :
       {L"Sending VQ3D parameters to DSP \n", L"OK: VQ3D parameters in DSP values matched inputs\n",
        L"Verify: VQ3D parameters to/From DSP", L"Operating Mode change successful\n",
        L"Setting PP Module status to: 1\n"})
    EXPECT_TRUE(log_.Contains(line)) << line;
  EXPECT_EQ(log_.Count(L"\n(220 bytes): ["), 2U);
  EXPECT_TRUE(LastIntelVerification().done);
  EXPECT_TRUE(LastIntelVerification().differences.empty());
  SkylakeImage held;
  EXPECT_EQ(ReadSkylakeImage(machine_.get(), kSpeakers, held), S_OK);
  EXPECT_EQ(held, KELAPOIntelDSP_SKL::CachedImage());

  LONG enabled = 0;
  EXPECT_EQ(Get(dsp, L"VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 1);
  EXPECT_EQ(Get(dsp, L"VQ3D-Master Volume Enable", enabled), E_NOTIMPL);
  EXPECT_EQ(dsp->put_APOEnable(0, 0), S_OK);
  EXPECT_EQ(Get(dsp, L"VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 0);
  for (const wchar_t* line : {L"| OK: PP Module Status: Enabled", L"| OK: PP FW Status: Enabled",
                              L"| OK: PP Module Status: Disabled", L"| OK: PP FW Status: Disabled"})
    EXPECT_TRUE(log_.Contains(line)) << line;

  // Derived from what was written last.
  machine_.Sent();
  EXPECT_EQ(Put(dsp, L"VQ3D-DPHD Boost Split", 100), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0x10014404));
  EXPECT_EQ(HalfWord(FullModeBlocks().at(4), 4), 29491);
  const DriverRecord common = machine_->ReceivedRecords().back();
  EXPECT_EQ(ReadField(common.bytes, 4, FieldType::I16), 26214);  // 0.8, without boost
  machine_.ExpectNothingRefused();
}

TEST_F(IntelDspTest, ModuleIsReportedAsFarAsItAnswers) {
  const auto dsp = OpenSkylake();
  const auto report = [&] {
    const DiagnosticLog log;
    BSTR name = nullptr;
    BSTR version = nullptr;
    EXPECT_EQ(dsp->GetModuleInfo(&name, &version), S_OK);
    const OwnedText owned_name(name);
    const OwnedText owned_version(version);
    for (const wchar_t* line :
         {L"| Intel audio codec module info:", L"|     PP Module Name: Post Processing Module",
          L"|     PP Module Version: 2.1.0", L"| APO VERSION: 3.5.3.1\n"})
      EXPECT_EQ(log.Count(line), 1U) << line;
    const std::size_t blocks = log.Count(L"| OK: [GetVQ3DParameters] ");
    for (const wchar_t* state : {L"Enabled", L"Disabled", L"Not instantiated"}) {
      if (log.Contains(std::wstring(L"|     PP Module Status: ") + state))
        return state + (L" " + std::to_wstring(blocks));
    }
    return std::wstring(L"no status");
  };
  EXPECT_EQ(report(), L"Enabled 12");
  auto& rules = machine_.skylake().misbehaviour;
  rules = {Misbehave(Kind::Refuse, request::kParameter, E_ACCESSDENIED)};
  EXPECT_EQ(report(), L"Enabled 0");
  EXPECT_EQ(dsp->put_APOEnable(0, 0), S_OK);  // the module itself takes it
  EXPECT_EQ(report(), L"Disabled 0");
  rules = {Misbehave(Kind::Refuse, request::kStatus, E_ACCESSDENIED)};
  EXPECT_EQ(dsp->put_APOEnable(1, 0), E_FAIL);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0x10014401));
  LONG enabled = 1;
  EXPECT_EQ(Get(dsp, L"VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 0);
  EXPECT_TRUE(log_.Contains(L"| ERROR: failed to get status from PP Module."));
  EXPECT_TRUE(log_.Contains(L"| OK: PP FW Status: Enabled"));
  rules = {Misbehave(Kind::Refuse, request::kInstance, E_ACCESSDENIED)};
  EXPECT_EQ(report(), L"Not instantiated 0");
  rules.clear();
  machine_.skylake().module_instantiated = false;
  EXPECT_EQ(report(), L"Not instantiated 0");
}

TEST_F(IntelDspTest, DifferencesOfTheReadBackAreNamed) {
  const auto dsp = OpenSkylake();
  DriverMisbehaviour corrupt = Misbehave(Kind::Corrupt, request::kParameter);
  corrupt.direction = DriverMisbehaviour::Direction::Get;
  corrupt.parameter = 0x10014408;
  corrupt.offset = 8;
  corrupt.mask = 1;
  machine_.skylake().misbehaviour = {corrupt};
  EXPECT_EQ(Write(dsp, SkylakeMode()), E_FAIL);
  EXPECT_EQ(Signals(), 0U);
  EXPECT_TRUE(log_.Contains(L"Error: VQ3D parameters to/from DSP does NOT match\n"));
  EXPECT_EQ(log_.Count(L"| i="), 1U);
  EXPECT_TRUE(log_.Contains(L"| i=192, 0x0c, 0x0d\n"));
  const IntelVerification verification = LastIntelVerification();
  ASSERT_EQ(verification.differences.size(), 1U);
  EXPECT_EQ(verification.differences[0].control, "VQ3D-Treble Gain");
  EXPECT_EQ(verification.differences[0].sent, 12);
  EXPECT_EQ(verification.differences[0].read, 13);
}

TEST_F(IntelDspTest, TechnologiesAreSentAlone) {
  auto dsp = Open();
  EXPECT_EQ(Write(dsp, BroadwellMode(), L"PEQRIGHT"), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(26));
  EXPECT_EQ(Write(dsp, BroadwellMode(), L"PEQALL"), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(25, 26));
  EXPECT_EQ(Write(dsp, BroadwellMode(), L"HPF"), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(24));
  EXPECT_EQ(Write(dsp, BroadwellMode(), L"hpf"), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(24, 20, 22, 100, 101, 21, 0, 1, 2, 3, 4, 5, 6, 25, 26));
  EXPECT_EQ(machine_->ReceivedRecords().back().selector, 1U);
  machine_.ExpectNothingRefused();
  dsp = OpenSkylake();
  EXPECT_EQ(Write(dsp, SkylakeMode(), L"PEQALL"), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0x1001440D, 0x1001440E));
}

TEST_F(IntelDspTest, EmptyModesAndRefusalsOfTheMode) {
  const auto dsp = Open();
  EXPECT_EQ(Write(dsp, {}), S_OK);
  EXPECT_TRUE(log_.Contains(L"Operating Mode change successful\n"));
  EXPECT_EQ(Signals(), 1U);
  EXPECT_EQ(Write(dsp, {{"", 3}}), S_OK);
  EXPECT_TRUE(log_.Contains(L"Warning: the last parameter is unrecognized by QVT.\n"));
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  const auto mode = FakeMode::Make(BroadwellMode());
  mode->refusal = E_ACCESSDENIED;
  EXPECT_EQ(dsp->WriteControls(mode.get(), nullptr, 1), E_ACCESSDENIED);
  EXPECT_EQ(dsp->WriteControls(nullptr, nullptr, 1), E_POINTER);
  EXPECT_EQ(Signals(), 2U);

  FakeControls controls = BroadwellMode();
  controls.erase("ZENSND-DC Enable");
  EXPECT_EQ(Write(dsp, controls), orv_apo::kAborted);
  EXPECT_TRUE(log_.Contains(L"| Error: ZENSND-DC Enable - Can't find bool control: "));
  EXPECT_EQ(Signals(), 2U);
}

SAFEARRAY* Array(VARTYPE type, LONG lower_bound, std::initializer_list<float> values) {
  SAFEARRAY* array = SafeArrayCreateVector(type, lower_bound, static_cast<ULONG>(values.size()));
  std::size_t i = 0;
  for (const float value : values) {
    if (type == VT_R4) static_cast<float*>(array->pvData)[i++] = value;
    if (type == VT_I4) static_cast<LONG*>(array->pvData)[i++] = static_cast<LONG>(value);
  }
  return array;
}

TEST_F(IntelDspTest, EqualiserTakesArraysOfOneSize) {
  const auto dsp = Open();
  const auto set = [&](KELChannel channel, SAFEARRAY* gains, SAFEARRAY* q, SAFEARRAY* freq) {
    const HRESULT status = dsp->SetPEQ(channel, gains, q, freq, 0);
    for (SAFEARRAY* array : {gains, q, freq}) {
      if (array == nullptr) continue;
      EXPECT_EQ(array->cLocks, 0U);
      SafeArrayDestroy(array);
    }
    return status;
  };
  const auto gains = [] { return Array(VT_R4, -5, {3, -6, 2}); };
  const auto qualities = [] { return Array(VT_R4, 1, {1, 2, 1}); };
  const auto frequencies = [] { return Array(VT_I4, 0, {100, 1000, 8000}); };
  EXPECT_EQ(set(kKELAPO_Left, gains(), qualities(), frequencies()), S_OK);
  EXPECT_EQ(set(kKELAPO_ChannelCount, gains(), qualities(), frequencies()), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(25, 26));
  EXPECT_TRUE(log_.Contains(L"Setting of PEQ succeeded, status 0x0\n"));
  const FilterBand bands[] = {{kORVFilter_LowShelf, 100, 1, 3, 0},
                              {kORVFilter_Traditional, 1000, 2, -6, 0},
                              {kORVFilter_HighShelf, 8000, 1, 2, 0}};
  EXPECT_EQ(machine_->ReceivedRecords()[0].bytes, broadwell::EqualizerBlock(bands));

  EXPECT_EQ(set(static_cast<KELChannel>(3), gains(), qualities(), frequencies()), E_INVALIDARG);
  EXPECT_EQ(set(static_cast<KELChannel>(-1), gains(), qualities(), frequencies()), E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, gains(), Array(VT_R4, 0, {1, 1}), frequencies()), E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, gains(), nullptr, frequencies()), E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, gains(), qualities(), Array(VT_R4, 0, {1, 2, 3})), E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, Array(VT_R8, 0, {0, 0, 0}), qualities(), frequencies()),
            E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, Array(VT_R4, 0, {}), Array(VT_R4, 0, {}), Array(VT_I4, 0, {})),
            E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, gains(), Array(VT_R4, 0, {1, NAN, 1}), frequencies()), E_INVALIDARG);
  EXPECT_EQ(set(kKELAPO_Left, gains(), qualities(), Array(VT_I4, 0, {100, 24000, 100})),
            E_INVALIDARG);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, "", 1)};
  EXPECT_EQ(set(kKELAPO_Right, gains(), qualities(), frequencies()), E_FAIL);
  EXPECT_TRUE(log_.Contains(L"Unable to set PEQ."));
}

TEST_F(IntelDspTest, ConfigurationFileIsSentOrExplained) {
  const TemporaryFolder folder;
  machine_ = IntelMachine(folder.path());
  auto dsp = Open();
  const auto process = [&](const char* name, FakeControls controls, std::wstring& reason) {
    std::ofstream file(folder.path() / name);
    const char* key =
        "<control name='ZAPO3-Operating Mode'>Music</control>"
        "<control name='ZAPO3-Speaker Type'>Internal</control>";
    file << "<orv_configuration><properties>" << key
         << "</properties><operating_mode selector='dsp'>" << key;
    for (const auto& [control, value] : controls)
      file << "<control name='" << control << "'>" << value << "</control>";
    file << "</operating_mode></orv_configuration>";
    file.close();
    const OwnedText path(SysAllocString((L"C:\\" + Widen(name)).c_str()));
    BSTR text = nullptr;
    const HRESULT status = dsp->ProcessConfigFile(path.get(), &text, 1);
    reason = ViewOf(OwnedText(text).get());
    return status;
  };
  std::wstring reason;
  EXPECT_EQ(dsp->ProcessConfigFile(nullptr, nullptr, 1), E_POINTER);
  EXPECT_EQ(process("poor.xml", {{"ZENSND-HPF Order", 2}}, reason), orv_apo::kAborted);
  EXPECT_EQ(reason, L"ZENSND-Process Enable - Can't find bool control: ZENSND-Process Enable");
  EXPECT_TRUE(log_.Contains(L"Error: setting controls from preset file failed. ZENSND-Process"));
  EXPECT_EQ(Signals(), 0U);
  machine_.Sent();
  EXPECT_EQ(process("whole.xml", BroadwellMode(), reason), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(24, 25, 26, 0, 1, 2, 3, 4, 5, 6, 20, 100, 101, 21, 22));
  EXPECT_TRUE(log_.Contains(L"Processing ENDSND DSP controls ...\n"));
  EXPECT_TRUE(log_.Contains(L"| call SetKELDSPControlChangeEvent()"));
  EXPECT_EQ(Signals(), 1U);
  const OwnedText missing(SysAllocString(L"C:\\missing.xml"));
  EXPECT_EQ(dsp->ProcessConfigFile(missing.get(), nullptr, 1), E_FAIL);

  // Single controls go on from what the file had.
  dsp = OpenSkylake();
  EXPECT_EQ(process("skylake.xml", SkylakeMode(), reason), S_OK);
  EXPECT_EQ(Put(dsp, L"VQ3D-DPHD Boost Split", 100), S_OK);
  EXPECT_EQ(ReadField(machine_->ReceivedRecords().back().bytes, 4, FieldType::I16), 26214);
}

TEST_F(IntelDspTest, EveryDriverCallMayFailOnceDuringAWrite) {
  const auto skylake = OpenSkylake();
  for (std::uint32_t nth = 1;; ++nth) {
    machine_->faults().Clear();
    machine_->faults().FailNth("ks.property", nth, E_ACCESSDENIED);
    const HRESULT status = Write(skylake, SkylakeMode());
    if (machine_->faults().Calls("ks.property") < nth) break;
    EXPECT_TRUE(status == S_OK || status == E_FAIL) << nth;
    machine_->faults().Clear();
    EXPECT_EQ(Write(skylake, SkylakeMode()), S_OK) << nth;
  }
  machine_->description().drivers.broadwell.emplace();
  const auto broadwell = Open();
  for (std::uint32_t nth = 1;; ++nth) {
    machine_->faults().Clear();
    machine_->faults().FailNth("device.control", nth, kDeviceGenFailure);
    const HRESULT status = Write(broadwell, BroadwellMode());
    if (machine_->faults().Calls("device.control") < nth) break;
    EXPECT_TRUE(status == S_OK || status == orv_apo::kAborted) << nth;
  }
  machine_.ExpectNothingRefused();
}

TEST_F(IntelDspTest, EveryAllocationMayFailOnceDuringAWrite) {
  const auto dsp = OpenSkylake();
  const auto mode = FakeMode::Make(SkylakeMode());
  constexpr std::size_t kStride = 41;  // a write takes some thousands
  for (std::size_t nth = 1;; nth += kStride) {
    HRESULT status = S_OK;
    bool failed = false;
    {
      const FailingAllocations failing(nth);
      status = dsp->WriteControls(mode.get(), nullptr, 1);
      failed = failing.failed();
    }
    if (!failed) break;
    EXPECT_TRUE(status == S_OK || status == E_OUTOFMEMORY || status == E_FAIL) << nth << status;
  }
  EXPECT_EQ(dsp->WriteControls(mode.get(), nullptr, 1), S_OK);
}

TEST_F(IntelDspTest, NewestObjectServesAllAndEventsDoNotLeak) {
  auto first = OpenSkylake();
  const auto second = Open();
  EXPECT_EQ(machine_->RegisteredEvents(), 1U);
  first.Reset();
  EXPECT_EQ(Write(second, SkylakeMode()), S_OK);
  ReleaseIntelDriverClients();
  EXPECT_EQ(machine_->RegisteredEvents(), 0U);
  EXPECT_EQ(Put(second, L"VQ3D-Tone Enable", 1), E_FAIL);
  EXPECT_EQ(Write(second, SkylakeMode()), S_OK);  // as without a DSP
}

}  // namespace
}  // namespace orv
