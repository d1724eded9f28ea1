#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "intel_dsp/broadwell/coefficients.h"
#include "intel_object.h"
#include "records/fields.h"
#include "support/diagnostic_log.h"
#include "support/every_failure.h"

namespace orv {
namespace {

using testing::ElementsAre;
using Kind = DriverMisbehaviour::Kind;
using Direction = DriverMisbehaviour::Direction;

class IntelDspTest : public IntelObjectTest {
 protected:
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
  UniqueBstr name;
  UniqueBstr text;
  EXPECT_EQ(dsp->GetModuleInfo(OutPtr(name), OutPtr(text)), S_OK);
  EXPECT_EQ(ViewOf(name.get()), L"Post Processing Module");
  EXPECT_EQ(dsp->put_dspDeviceId(name.get()), S_OK);  // of no use there
  EXPECT_EQ(dsp->get_ApoVersion(nullptr), E_POINTER);
  for (const LONG apply : {0, 1}) {
    EXPECT_EQ(dsp->put_APOEnable(5, apply), S_OK);
    EXPECT_THAT(machine_.Sent(), ElementsAre(0));
    EXPECT_EQ(machine_->ReceivedRecords().back().selector, static_cast<std::uint32_t>(apply));
  }
  LONG enabled = 0;
  EXPECT_EQ(Get(dsp, "ZENSND-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 1);
  EXPECT_EQ(Put(dsp, "ZENSND-DC Level", 40), S_OK);
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

TEST_F(IntelDspTest, PositiveStatusOfTheBroadwellModuleLeavesNoDsp) {
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, request::kModules, 1)};
  ComPtr<IKELAPOIntelDSP4> dsp;
  module_.SetMachine(machine_.get());
  EXPECT_EQ(CreateIntelDspForClient(module_, nullptr, IID_IKELAPOIntelDSP4, dsp.PutVoid()), S_OK);
  EXPECT_FALSE(log_.Contains(L"Skylate"));
  EXPECT_EQ(Write(dsp, BroadwellMode()), S_OK);
  EXPECT_EQ(Put(dsp, "ZENSND-DC Level", 40), E_FAIL);
  EXPECT_EQ(Signals(), 2U);  // of the mode, and ahead of what the property comes to
  EXPECT_EQ(Put(dsp, nullptr, 40), E_FAIL);
  EXPECT_EQ(Signals(), 2U);
  EXPECT_EQ(dsp->put_APOEnable(1, 1), E_FAIL);
  LONG number = 0;
  EXPECT_EQ(Get(dsp, "ZENSND-Process Enable", number), E_NOTIMPL);
  BYTE byte = 9;
  EXPECT_EQ(dsp->GetAPIVersion(&byte, &byte), E_FAIL);
  EXPECT_THAT(machine_.Sent(), ElementsAre());
  std::wstring id = kSpeakers;
  EXPECT_EQ(dsp->put_dspDeviceId(id.data()), S_OK);  // now it is a Skylake one
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  id = kHdmi;
  EXPECT_EQ(dsp->put_dspDeviceId(id.data()), E_FAIL);
  EXPECT_EQ(Put(dsp, "VQ3D-Tone Enable", 1), E_FAIL);
  EXPECT_EQ(dsp->put_dspDeviceId(nullptr), E_POINTER);
}

TEST_F(IntelDspTest, WholeModeIsReadBackAndVerified) {
  const auto dsp = OpenSkylake();
  EXPECT_EQ(machine_->RegisteredEvents(), 1U);
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  EXPECT_EQ(Signals(), 1U);
  EXPECT_EQ(log_.Count(L"| OK: VQ3D parameters in DSP values matched inputs\n"), 1U);
  machine_.ExpectNothingRefused();

  // The module's own differences: the high-pass switch has a place of its own in the images.
  for (const auto& [parameter, offset] : {std::pair{0x10014408U, 8U}, {0x10014401U, 12U}}) {
    DriverMisbehaviour corrupt = Misbehave(Kind::Corrupt, Direction::Get, parameter);
    corrupt.offset = offset;
    corrupt.mask = 1;
    machine_.skylake().misbehaviour.push_back(corrupt);
  }
  EXPECT_EQ(Write(dsp, SkylakeMode()), E_FAIL);
  EXPECT_EQ(Signals(), 1U);
  ExpectEachOnce(log_, {L"| i=136, 0x01, 0x00\n", L"| i=192, 0x0f8, 0x0f9\n"});
  EXPECT_EQ(log_.Count(L"| i="), 2U);
}

TEST_F(IntelDspTest, RefusedBlockDoesNotHoldUpTheOthers) {
  const auto dsp = OpenSkylake();
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  machine_.Sent();
  machine_.skylake().misbehaviour = {
      Misbehave(Kind::Refuse, Direction::Set, 0x10014403, E_ACCESSDENIED)};
  FakeControls off = SkylakeMode();
  off["VQ3D-Process Enable"] = 0;
  off["VQ3D-Vocalift Enable"] = 0;
  EXPECT_EQ(Write(dsp, off, 0), E_FAIL);
  EXPECT_EQ(machine_.Sent().size(), 14U);
  EXPECT_EQ(machine_->ReceivedRecords().back().selector, 0U);
  LONG enabled = 1;
  EXPECT_EQ(Get(dsp, "VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 0);
  ExpectEachOnce(log_, {L"OK: PP FW Status: Disabled", L"OK: PP Module Status: Disabled"});
  EXPECT_EQ(Get(dsp, "VQ3D-Master Volume Enable", enabled), E_NOTIMPL);
  EXPECT_EQ(dsp->put_APOEnable(1, 0), S_OK);
  EXPECT_EQ(machine_->ReceivedRecords().back().selector, 0U);
  EXPECT_EQ(Get(dsp, "VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 1);
}

TEST_F(IntelDspTest, EveryRequestCarriesTheApplyFlag) {
  auto dsp = OpenSkylake();
  LONG number = 0;
  const auto expect = [&](std::uint32_t flag, std::initializer_list<const char*> requests) {
    for (const char* request : requests) EXPECT_EQ(machine_->ApplyFlag(request), flag) << request;
  };
  for (const LONG apply : {1, 0}) {
    const auto flag = static_cast<std::uint32_t>(apply);
    EXPECT_EQ(Write(dsp, SkylakeMode(), apply), S_OK);
    expect(flag, {"skylake set status", "skylake set parameter 0x10014401"});
    expect(0, {"skylake get parameter 0x10014401"});  // the verification
    EXPECT_EQ(Put(dsp, "VQ3D-Process Enable", 1, 1 - apply), S_OK);
    expect(1 - flag, {"skylake set status", "skylake get parameter 0x10014401"});
    EXPECT_EQ(dsp->put_APOEnable(1, apply), S_OK);
    expect(flag, {"skylake set status", "skylake get parameter 0x10014401"});
    EXPECT_EQ(Get(dsp, "VQ3D-Process Enable", number, 1 - apply), S_OK);
    expect(1 - flag, {"skylake get status", "skylake get parameter 0x10014401"});
  }
  machine_->description().drivers.broadwell.emplace();
  dsp = Open();
  for (const LONG apply : {1, 0}) {
    EXPECT_EQ(Get(dsp, "ZENSND-Process Enable", number, apply), S_OK);
    expect(static_cast<std::uint32_t>(apply), {"broadwell get parameter 0"});
  }
}

// Which refusals an operation reports: as in the public header.
TEST_F(IntelDspTest, RefusalsHaveTheStatusOfTheirOperation) {
  auto dsp = OpenSkylake();
  const auto refuse = [](const char* request, std::optional<std::uint32_t> parameter) {
    DriverMisbehaviour rule = Misbehave(Kind::Refuse, request, E_ACCESSDENIED);
    rule.direction = Direction::Set;
    rule.parameter = parameter;
    return std::vector{rule};
  };
  EXPECT_EQ(Write(dsp, SkylakeMode()), S_OK);
  FakeControls changed = SkylakeMode();
  changed["VQ3D-Tone Enable"] = 1 - changed["VQ3D-Tone Enable"];
  for (const auto& [parameter, whole, filters] :
       {std::tuple{0x10014408U, E_FAIL, S_OK}, {0x1001440DU, S_OK, E_ACCESSDENIED}}) {
    machine_.skylake().misbehaviour = refuse(request::kParameter, parameter);
    EXPECT_EQ(Write(dsp, changed), whole) << parameter;
    EXPECT_EQ(Write(dsp, changed, 1, "HPF"), filters) << parameter;
  }
  machine_.skylake().misbehaviour = refuse(request::kStatus, std::nullopt);
  EXPECT_EQ(Write(dsp, changed), S_OK);
  EXPECT_EQ(Put(dsp, "VQ3D-Process Enable", 0), S_OK);
  EXPECT_EQ(dsp->put_APOEnable(1, 0), E_FAIL);
  machine_.skylake().misbehaviour = refuse(request::kParameter, std::nullopt);
  EXPECT_EQ(dsp->put_APOEnable(1, 0), S_OK);
  EXPECT_EQ(Put(dsp, "VQ3D-Process Enable", 1), S_OK);
  EXPECT_EQ(Put(dsp, "VQ3D-Tone Enable", 1), E_ACCESSDENIED);
  EXPECT_EQ(Put(dsp, "VQ3D-Master Volume Volume Step", 101), E_FAIL);
  EXPECT_EQ(Put(dsp, "VQ3D-Nothing", 1), E_INVALIDARG);
  EXPECT_EQ(Put(dsp, "VQ3D-Tone Enable", "1"), E_INVALIDARG);

  machine_->description().drivers.broadwell.emplace();
  dsp = Open();
  for (const auto& [parameter, mode, file] : {std::tuple{24U, orv_apo::kAborted, S_OK},
                                              {25U, S_OK, S_OK},
                                              {6U, orv_apo::kAborted, orv_apo::kAborted}}) {
    machine_.broadwell().misbehaviour = refuse(request::kParameter, parameter);
    EXPECT_EQ(Write(dsp, BroadwellMode()), mode) << parameter;
    EXPECT_EQ(WriteFile(dsp, BroadwellMode(), 1), file) << parameter;
  }
  EXPECT_EQ(Put(dsp, "ZENSND-AEQ Enable", 1), S_OK);
  EXPECT_EQ(dsp->put_APOEnable(1, 0), S_OK);
}

TEST_F(IntelDspTest, SingleControlsGoOnFromTheLastModeWritten) {
  const auto dsp = OpenSkylake();
  // Twice the definition level, by half the maximum; its field then, in Q1.15.
  const auto level_after = [&](const char* name, LONG value) {
    EXPECT_EQ(Put(dsp, name, value), S_OK);
    return ReadField(machine_->ReceivedRecords().back().bytes, 36, FieldType::I16);
  };
  FakeControls mode = SkylakeMode();
  EXPECT_EQ(Write(dsp, mode), S_OK);
  mode["VQ3D-Definition Max Level"] = 50;
  EXPECT_EQ(Write(dsp, mode), S_OK);
  EXPECT_EQ(level_after("VQ3D-Definition Level", 100), 16384);
  mode["VQ3D-Definition Max Level"] = 25;
  EXPECT_EQ(WriteFile(dsp, mode, 1), S_OK);
  EXPECT_EQ(level_after("VQ3D-Definition Level", 100), 8192);
  mode.erase("VQ3D-Definition Max Level");
  Write(dsp, mode);  // its values take the place of all earlier ones
  EXPECT_EQ(Put(dsp, "VQ3D-Definition Level", 100), E_FAIL);
}

TEST_F(IntelDspTest, EndpointLivesAsLongAsItsDsp) {
  const auto endpoint = FakeMode::Make(FakeControls());
  const auto references = [&] { return endpoint->AddRef(), endpoint->Release(); };
  ComPtr<IKELAPOIntelDSP> dsp;
  module_.SetMachine(machine_.get());
  EXPECT_EQ(CreateIntelDriverClient(module_, static_cast<IORVOperatingMode*>(endpoint.get()),
                                    kSpeakers, dsp.Put()),
            S_OK);
  EXPECT_EQ(references(), 2U);
  dsp.Reset();
  EXPECT_EQ(references(), 1U);
}

TEST_F(IntelDspTest, ModuleIsReportedAsFarAsItAnswers) {
  const auto dsp = OpenSkylake();
  // The blocks read, and the line with this state.
  const auto expect = [&](std::size_t blocks, const wchar_t* state) {
    const DiagnosticLog log;
    BSTR name = nullptr;
    BSTR version = nullptr;
    EXPECT_EQ(dsp->GetModuleInfo(&name, &version), S_OK);
    EXPECT_EQ(ViewOf(UniqueBstr(name).get()), L"Post Processing Module");
    EXPECT_EQ(ViewOf(UniqueBstr(version).get()), L"2.1.0");
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
  EXPECT_EQ(Get(dsp, "VQ3D-Process Enable", enabled), S_OK);
  EXPECT_EQ(enabled, 0);
  rules.clear();
  machine_.skylake().module_instantiated = false;
  expect(0, L"Not instantiated");
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
        dsp->SetPEQ(static_cast<KELChannel>(channel), arrays[0], arrays[1], arrays[2], channel);
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
  EXPECT_EQ(machine_->ReceivedRecords()[0].selector, 0U);
  EXPECT_EQ(machine_->ReceivedRecords()[1].selector, 1U);

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

TEST_F(IntelDspTest, ConfigurationFileThatCannotBeSentIsExplained) {
  const auto dsp = Open();
  const UniqueBstr missing(SysAllocString(L"C:\\missing.xml"));
  EXPECT_EQ(dsp->ProcessConfigFile(missing.get(), nullptr, 1), E_FAIL);
  EXPECT_EQ(dsp->ProcessConfigFile(nullptr, nullptr, 1), E_POINTER);
  std::wstring reason;
  EXPECT_EQ(WriteFile(dsp, {{"ZENSND-HPF Order", 2}}, 1, &reason), orv_apo::kAborted);
  EXPECT_EQ(reason, L"ZENSND-Process Enable - Can't find bool control: ZENSND-Process Enable");
  EXPECT_EQ(Signals(), 0U);
}

TEST_F(IntelDspTest, EveryDriverCallMayFailOnceDuringAWrite) {
  HRESULT status = S_FALSE;
  const auto skylake = OpenSkylake();
  WithEveryCallFailing(
      machine_, "ks.property", E_ACCESSDENIED, [&] { status = Write(skylake, SkylakeMode()); },
      [&] {
        EXPECT_TRUE(status == S_OK || status == E_FAIL) << status;
        EXPECT_EQ(Write(skylake, SkylakeMode()), S_OK);
      });
  machine_->description().drivers.broadwell.emplace();
  const auto broadwell = Open();
  WithEveryCallFailing(
      machine_, "device.control", kDeviceGenFailure,
      [&] { status = Write(broadwell, BroadwellMode()); },
      [&] { EXPECT_TRUE(status == S_OK || status == orv_apo::kAborted) << status; });
  machine_.ExpectNothingRefused();
}

TEST_F(IntelDspTest, EveryAllocationMayFailOnceDuringAWrite) {
  const auto dsp = OpenSkylake();
  const auto mode = FakeMode::Make(SkylakeMode());
  HRESULT status = S_FALSE;
  WithEveryAllocationFailing(
      [&] { status = dsp->WriteControls(mode.get(), nullptr, 1); },
      [&](std::size_t) {
        EXPECT_TRUE(status == S_OK || status == E_OUTOFMEMORY || status == E_FAIL) << status;
      },
      41);  // a write takes some thousands
  EXPECT_EQ(dsp->WriteControls(mode.get(), nullptr, 1), S_OK);
}

TEST_F(IntelDspTest, NewestObjectServesAllAndEventsDoNotLeak) {
  auto first = OpenSkylake();
  const auto second = Open();
  EXPECT_EQ(machine_->RegisteredEvents(), 1U);
  first.Reset();
  EXPECT_EQ(Write(second, SkylakeMode()), S_OK);
  ComPtr<IKELAPOIntelDSP> none;
  EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kHdmi, none.Put()), E_FAIL);
  EXPECT_EQ(Write(second, SkylakeMode()), E_FAIL);
  Open();
  EXPECT_EQ(Write(second, SkylakeMode()), S_OK);
  ReleaseIntelDriverClients();
  EXPECT_EQ(machine_->RegisteredEvents(), 0U);
  EXPECT_EQ(Put(second, "VQ3D-Tone Enable", 1), E_FAIL);
  EXPECT_EQ(Write(second, SkylakeMode()), S_OK);  // as without a DSP
}

}  // namespace
}  // namespace orv
