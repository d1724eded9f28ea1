#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "broadwell_mode.h"
#include "fake_mode.h"
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
  static HRESULT Write(const ComPtr<IKELAPOIntelDSP4>& dsp, const FakeControls& controls,
                       const wchar_t* technology = nullptr) {
    const OwnedText text(SysAllocString(technology));
    return dsp->WriteControls(FakeMode::Make(controls).get(), text.get(), 1);
  }
  static HRESULT Put(const ComPtr<IKELAPOIntelDSP4>& dsp, const wchar_t* name, LONG number) {
    const OwnedText text(SysAllocString(name));
    VARIANT value{};
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
  EXPECT_TRUE(log_.Contains(L"Error, failed to access Intel driver/module. \n"));
  module_.SetMachine(nullptr);
  EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kSpeakers, &dsp), E_UNEXPECTED);
}

// As with a dock, whose output is the default one and does not lead to the DSP.
TEST_F(IntelDspTest, EndpointHasItsModuleWhateverTheDefaultOneLeadsTo) {
  machine_->description().drivers.broadwell.reset();
  for (SimulatedEndpoint& endpoint : machine_->description().endpoints)
    endpoint.is_default = endpoint.id == kHdmi;
  EXPECT_EQ(Write(Open(), SkylakeMode()), S_OK);
  EXPECT_TRUE(log_.Contains(L"WARNING: Failed to open access to Skylake DSP, endpoint: "));
  ComPtr<IKELAPOIntelDSP> dsp;
  EXPECT_EQ(CreateIntelDspForClient(module_, nullptr, IID_IKELAPOIntelDSP, dsp.PutVoid()), E_FAIL);
  EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kHdmi, dsp.Put()), E_FAIL);
  machine_->faults().FailNth("devices.create_enumerator", 1, E_OUTOFMEMORY);
  EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kSpeakers, dsp.Put()), E_OUTOFMEMORY);
}

TEST_F(IntelDspTest, RemarkOfTheBroadwellModuleLeavesNoDsp) {
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, request::kModules, 1)};
  ComPtr<IKELAPOIntelDSP4> dsp;
  module_.SetMachine(machine_.get());
  EXPECT_EQ(CreateIntelDspForClient(module_, nullptr, IID_IKELAPOIntelDSP4, dsp.PutVoid()), S_OK);
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

TEST_F(IntelDspTest, WholeModeIsSentAndReadBack) {
  const auto dsp = OpenSkylake();
  EXPECT_EQ(machine_->RegisteredEvents(), 1U);
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  std::vector<std::uint32_t> sent = machine_.Sent();
  for (std::uint32_t& parameter : sent) parameter &= 0xFF;
  EXPECT_THAT(sent, ElementsAre(0x01, 0x11, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A,
                                0x0B, 0x0C, 0x0D, 0x0E));
  EXPECT_EQ(Signals(), 1U);
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

  // Derived from what was written last.
  machine_.Sent();
  EXPECT_EQ(Put(dsp, L"VQ3D-DPHD Boost Split", 100), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0x10014404));
  EXPECT_EQ(HalfWord(FullModeBlocks().at(4), 4), 29491);
  const DriverRecord common = machine_->ReceivedRecords().back();
  EXPECT_EQ(ReadField(common.bytes, 4, FieldType::I16), 26214);  // 0.8, without boost
  machine_.ExpectNothingRefused();

  DriverMisbehaviour corrupt = Misbehave(Kind::Corrupt, request::kParameter);
  corrupt.direction = DriverMisbehaviour::Direction::Get;
  corrupt.parameter = 0x10014408;
  corrupt.offset = 8;
  corrupt.mask = 1;
  machine_.skylake().misbehaviour = {corrupt};
  const std::uint64_t signals = Signals();
  EXPECT_EQ(Write(dsp, SkylakeMode()), E_FAIL);
  EXPECT_EQ(Signals(), signals);
  EXPECT_EQ(log_.Count(L"| i=192, 0x0c, 0x0d\n"), 1U);
  EXPECT_EQ(LastIntelVerification().differences.at(0).control, "VQ3D-Treble Gain");
}

TEST_F(IntelDspTest, ModuleIsReportedAsFarAsItAnswers) {
  const auto dsp = OpenSkylake();
  // The blocks read, and lines that tell this state.
  const auto expect = [&](std::size_t blocks, const wchar_t* state) {
    const DiagnosticLog log;
    BSTR name = nullptr;
    BSTR version = nullptr;
    EXPECT_EQ(dsp->GetModuleInfo(&name, &version), S_OK);
    EXPECT_EQ(ViewOf(OwnedText(name).get()), L"Post Processing Module");
    EXPECT_EQ(ViewOf(OwnedText(version).get()), L"2.1.0");
    EXPECT_EQ(log.Count(L"| OK: [GetVQ3DParameters] "), blocks);
    EXPECT_EQ(log.Count(std::wstring(L"|     PP Module Status: ") + state), 1U) << state;
  };
  expect(12, L"Enabled");
  auto& rules = machine_.skylake().misbehaviour;
  rules = {Misbehave(Kind::Refuse, request::kParameter, E_ACCESSDENIED)};
  EXPECT_EQ(dsp->put_APOEnable(0, 0), S_OK);  // the module itself takes it
  expect(0, L"Disabled");
  rules = {Misbehave(Kind::Refuse, request::kStatus, E_ACCESSDENIED)};
  EXPECT_EQ(dsp->put_APOEnable(1, 0), E_FAIL);
  EXPECT_THAT(machine_.Sent(), ElementsAre(0x10014401));
  LONG enabled = 1;
  EXPECT_EQ(Get(dsp, L"VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 0);
  rules.clear();
  machine_.skylake().module_instantiated = false;
  expect(0, L"Not instantiated");
}

TEST_F(IntelDspTest, TechnologiesAreSentAlone) {
  const auto sent = [&](const ComPtr<IKELAPOIntelDSP4>& dsp, const FakeControls& controls,
                        const wchar_t* technology) {
    EXPECT_EQ(Write(dsp, controls, technology), S_OK);
    return machine_.Sent();
  };
  const auto broadwell = Open();
  EXPECT_THAT(sent(broadwell, BroadwellMode(), L"PEQRIGHT"), ElementsAre(26));
  EXPECT_THAT(sent(broadwell, BroadwellMode(), L"PEQALL"), ElementsAre(25, 26));
  EXPECT_THAT(sent(broadwell, BroadwellMode(), L"HPF"), ElementsAre(24));
  EXPECT_THAT(sent(broadwell, BroadwellMode(), L"hpf"),
              ElementsAre(24, 20, 22, 100, 101, 21, 0, 1, 2, 3, 4, 5, 6, 25, 26));
  EXPECT_EQ(machine_->ReceivedRecords().back().selector, 1U);
  EXPECT_THAT(sent(OpenSkylake(), SkylakeMode(), L"PEQALL"), ElementsAre(0x1001440D, 0x1001440E));
  machine_.ExpectNothingRefused();
}

TEST_F(IntelDspTest, EmptyModesAndRefusalsOfTheMode) {
  const auto dsp = Open();
  EXPECT_EQ(Write(dsp, {}), S_OK);
  EXPECT_EQ(Signals(), 1U);
  EXPECT_EQ(Write(dsp, {{"", 3}}), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  const auto mode = FakeMode::Make(BroadwellMode());
  mode->refusal = E_ACCESSDENIED;
  EXPECT_EQ(dsp->WriteControls(mode.get(), nullptr, 1), E_ACCESSDENIED);
  EXPECT_EQ(dsp->WriteControls(nullptr, nullptr, 1), E_POINTER);
  EXPECT_EQ(Signals(), 2U);

  FakeControls controls = BroadwellMode();
  controls.erase("ZENSND-DC Enable");
  EXPECT_EQ(Write(dsp, controls), orv_apo::kAborted);
  EXPECT_EQ(Signals(), 2U);
}

// Of 32-bit numbers; none where there is no type.
struct Array {
  VARTYPE type;
  LONG lower_bound;
  std::vector<float> values;

  SAFEARRAY* Make() const {
    if (type == VT_EMPTY) return nullptr;
    SAFEARRAY* array = SafeArrayCreateVector(type, lower_bound, static_cast<ULONG>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (type == VT_R4) static_cast<float*>(array->pvData)[i] = values[i];
      if (type == VT_I4) static_cast<LONG*>(array->pvData)[i] = static_cast<LONG>(values[i]);
    }
    return array;
  }
};

TEST_F(IntelDspTest, EqualiserTakesArraysOfOneSize) {
  const auto dsp = Open();
  const auto set = [&](int channel, const Array& gains, const Array& q, const Array& frequencies) {
    SAFEARRAY* const arrays[] = {gains.Make(), q.Make(), frequencies.Make()};
    const HRESULT status =
        dsp->SetPEQ(static_cast<KELChannel>(channel), arrays[0], arrays[1], arrays[2], 0);
    for (SAFEARRAY* array : arrays) {
      if (array == nullptr) continue;
      EXPECT_EQ(array->cLocks, 0U);
      SafeArrayDestroy(array);
    }
    return status;
  };
  const Array gains = {VT_R4, -5, {3, -6, 2}};
  const Array qualities = {VT_R4, 1, {1, 2, 1}};
  const Array frequencies = {VT_I4, 0, {100, 1000, 8000}};
  EXPECT_EQ(set(kKELAPO_Left, gains, qualities, frequencies), S_OK);
  EXPECT_EQ(set(kKELAPO_ChannelCount, gains, qualities, frequencies), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(25, 26));
  const FilterBand bands[] = {{kORVFilter_LowShelf, 100, 1, 3, 0},
                              {kORVFilter_Traditional, 1000, 2, -6, 0},
                              {kORVFilter_HighShelf, 8000, 1, 2, 0}};
  EXPECT_EQ(machine_->ReceivedRecords()[0].bytes, broadwell::EqualizerBlock(bands));

  const std::tuple<int, Array, Array, Array> refused[] = {
      {3, gains, qualities, frequencies},
      {-1, gains, qualities, frequencies},
      {0, gains, {VT_R4, 0, {1, 1}}, frequencies},
      {0, gains, {VT_EMPTY, 0, {}}, frequencies},
      {0, gains, qualities, {VT_R4, 0, {1, 2, 3}}},
      {0, {VT_R8, 0, {0, 0, 0}}, qualities, frequencies},
      {0, {VT_R4, 0, {}}, {VT_R4, 0, {}}, {VT_I4, 0, {}}},
      {0, gains, {VT_R4, 0, {1, NAN, 1}}, frequencies},
      {0, gains, qualities, {VT_I4, 0, {100, 24000, 100}}}};
  for (const auto& row : refused) EXPECT_EQ(std::apply(set, row), E_INVALIDARG);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, "", 1)};
  EXPECT_EQ(set(kKELAPO_Right, gains, qualities, frequencies), E_FAIL);
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
  EXPECT_EQ(Signals(), 0U);
  machine_.Sent();
  EXPECT_EQ(process("whole.xml", BroadwellMode(), reason), S_OK);
  EXPECT_THAT(machine_.Sent(), ElementsAre(24, 25, 26, 0, 1, 2, 3, 4, 5, 6, 20, 100, 101, 21, 22));
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
