// The Qualcomm DSP object between a client's mode and the driver of a simulated machine.
#include "qc_dsp/qualcomm_dsp.h"

#include <gtest/gtest.h>

#include <map>

#include "../intel_dsp/fake_mode.h"
#include "records/fields.h"
#include "simulated/simulated_machine.h"
#include "support/diagnostic_log.h"
#include "support/every_failure.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using Controls = std::vector<ListedControl>;
using Parameters = std::vector<std::uint32_t>;

const Controls kWholeMode = {
    {"QUMEDIA-Process Enable", 1},  {"QUMEDIA-Main Tech", 1},
    {"QUMEDIA-HPF Enable", 0},      {"QUMEDIA-HPF Order", 2},
    {"QUMEDIA-HPF Frequency", 100}, {"QUMEDIA-Hard Limiter Enable", 1},
    {"QUMEDIA-Link PEQ Enable", 0}, {"QUMEDIA-DPHD Speaker Audio Custom Size", 185},
};

class QualcommDspTest : public ::testing::Test {
 protected:
  QualcommDspTest() {
    machine_->description().drivers.qualcomm.emplace();
    module_.SetMachine(machine_);
  }
  ~QualcommDspTest() override {
    EXPECT_EQ(module_.lock_count(), 0U);
    EXPECT_TRUE(machine_->RefusedRequests().empty());
  }

  ComPtr<IORVAPOQCDSP> Create(IMMDevice* device = nullptr, IUnknown* endpoint = nullptr) {
    ComPtr<IORVAPOQCDSP> dsp;
    EXPECT_EQ(CreateQualcommDspForEndpoint(module_, endpoint, device, dsp.Put()), S_OK);
    return dsp;
  }
  HRESULT Write(const Controls& controls) {
    return Create()->WriteControls(FakeMode::Make(controls).get());
  }
  // The low bytes of the parameters that the driver took since the last call.
  Parameters Sent() {
    received_ = machine_->ReceivedRecords();
    Parameters parameters;
    for (; seen_ < received_.size(); ++seen_)
      parameters.push_back(received_[seen_].parameter & 0xFF);
    return parameters;
  }
  std::int64_t Flags() { return ReadField(received_.back().bytes, 0, FieldType::U32); }
  static LONG FormFactor(const ComPtr<IORVAPOQCDSP>& dsp) {
    auto form_factor = static_cast<_ORVQuMediaDeviceType>(-77);
    EXPECT_EQ(dsp->get_EndpointFormFactor(&form_factor), S_OK);
    return form_factor;
  }

  std::shared_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
  Module module_{{}, [] { return std::shared_ptr<Machine>(); }};
  std::vector<DriverRecord> received_;
  std::size_t seen_ = 0;
};

TEST_F(QualcommDspTest, RecordsAreThoseOfTheReferenceData) {
  const auto dsp = Create();
  const nlohmann::json& data = ReferenceData("qualcomm.json");
  for (const auto& row : data.at("cases")) {
    SCOPED_TRACE(row.at("name").get<std::string>());
    const auto form_factor = static_cast<_ORVQuMediaDeviceType>(row.at("form_factor").get<int>());
    EXPECT_EQ(dsp->put_EndpointFormFactor(form_factor), S_OK);
    const auto controls = row.at("controls").get<std::map<std::string, std::int32_t>>();
    EXPECT_EQ(dsp->WriteControls(FakeMode::Make(controls).get()), S_OK);
    nlohmann::json records = row.at("records");
    for (auto& record : records) record["apply"] = form_factor;
    const auto first = static_cast<std::ptrdiff_t>(seen_);
    Sent();
    EXPECT_EQ(DifferenceFrom(records, {received_.begin() + first, received_.end()}), "");
  }
}

TEST_F(QualcommDspTest, WriteIsReported) {
  const DiagnosticLog log;
  EXPECT_EQ(Write({{"QUMEDIA-Main Tech", 1},
                   {"QUMEDIA-DPHD Split Analysis Enable", 2},
                   {"QUMEDIA-DPHD Speaker Audio Custom Size", -185},
                   {"QUMEDIA-DPHD Speaker Analysis Custom Size", 165}}),
            S_OK);
  ExpectEachOnce(log, {L"| CORVAPOQCDSP::Init | CORVAPOQCDSP::init\n",
                       L"| CORVAPOQCDSP::Init | Got MMDevice pointer 0x",
                       L"| CORVAPOQCDSP::WriteControls | Added QUMEDIA-Main Tech\n",
                       L"| CORVAPOQCDSP::WriteWIDHDControlsToQCDriver | WIDHD DP Analysis: "
                       L"165, DP Audio: -185\n",
                       L"| CORVAPOQCDSP::WriteMXHPControlsToQCDriver | MXHP DP Analysis: "
                       L"165, DP Audio: -185\n"});
}

TEST_F(QualcommDspTest, BlocksThatTheModeLacksAreNotSent) {
  const struct {
    Controls controls;
    Parameters sent;
    std::int64_t flags;
  } cases[] = {
      {kWholeMode, {0x12, 0x13, 0x14, 0x16, 0x15, 0x11}, 0x23},
      {{{"Another suite's", 1}}, {0x11}, 0},  // nothing of the earlier write either
      {{{"QUMEDIA-Main Tech", 4}}, {0x12, 0x13, 0x11}, 4},
      {{{"QUMEDIA-Hard Limiter Enable", 0}, {"qumedia-hpf enable", 1}}, {0x16, 0x11}, 0},
      // The later control of a name wins.
      {{{"QUMEDIA-Process Enable", 0}, {"", 5}, {"QUMEDIA-Process Enable", 3}}, {0x11}, 1},
  };
  const auto dsp = Create();
  for (const auto& [controls, sent, flags] : cases) {
    EXPECT_EQ(dsp->WriteControls(FakeMode::Make(controls).get()), S_OK);
    EXPECT_EQ(Sent(), sent);
    EXPECT_EQ(Flags(), flags);
  }
  // A control that cannot be read is present with 0.
  const auto mode = FakeMode::Make(Controls{{"QUMEDIA-Hard Limiter Enable", 1}});
  mode->unreadable = "QUMEDIA-Hard Limiter Enable";
  EXPECT_EQ(dsp->WriteControls(mode.get()), S_OK);
  EXPECT_EQ(Sent(), (Parameters{0x16, 0x11}));
  EXPECT_EQ(Flags(), 0);
  for (const Controls& nameless : {Controls(), {{"", 5}}}) {
    EXPECT_EQ(Write(nameless), E_FAIL);
    EXPECT_EQ(Sent(), Parameters());
  }
}

TEST_F(QualcommDspTest, RefusalsComeBackAsStatuses) {
  EXPECT_EQ(Create()->WriteControls(nullptr), E_POINTER);
  const auto mode = FakeMode::Make(kWholeMode);
  mode->refusal = E_ACCESSDENIED;
  EXPECT_EQ(Create()->WriteControls(mode.get()), E_ACCESSDENIED);
  EXPECT_EQ(machine_->faults().Calls("device.control"), 0U);
  // The driver's status of a record is not reported.
  machine_->faults().FailAlways("device.control", kDeviceGenFailure);
  EXPECT_EQ(Write(kWholeMode), S_OK);
  EXPECT_EQ(machine_->faults().Calls("device.control"), 6U);
}

TEST_F(QualcommDspTest, ObjectWithoutEndpointHasNoDriver) {
  ComPtr<IORVAPOQCDSP> dsp;
  EXPECT_EQ(CreateQualcommDspForClient(module_, nullptr, IID_IORVAPOQCDSP, dsp.PutVoid()), S_OK);
  EXPECT_EQ(dsp->WriteControls(FakeMode::Make(kWholeMode).get()), E_NOTIMPL);
  EXPECT_EQ(FormFactor(dsp), ORV_QUMEDIA_RESERVED);
  EXPECT_EQ(dsp->get_EndpointFormFactor(nullptr), E_POINTER);
  for (const int refused : {5, -1}) {
    EXPECT_EQ(dsp->put_EndpointFormFactor(static_cast<_ORVQuMediaDeviceType>(refused)),
              E_INVALIDARG);
  }
  EXPECT_EQ(dsp->put_EndpointFormFactor(ORV_QUMEDIA_HDMI), S_OK);
  EXPECT_EQ(FormFactor(dsp), ORV_QUMEDIA_HDMI);
}

TEST_F(QualcommDspTest, FirstInterfaceThatOpensIsTheDriver) {
  machine_->description().drivers.qualcomm->interfaces = 3;
  machine_->faults().FailNth("device.open", 1, kDeviceAccessDenied);
  Create();
  EXPECT_EQ(machine_->faults().Calls("device.open"), 2U);

  const auto expect_none = [&] {
    auto* missing = reinterpret_cast<IORVAPOQCDSP*>(0xBAD0BAD0);
    EXPECT_EQ(CreateQualcommDspForEndpoint(module_, nullptr, nullptr, &missing), E_NOTIMPL);
    EXPECT_EQ(missing, nullptr);
  };
  machine_->faults().FailAlways("device.open", kDeviceAccessDenied);
  expect_none();
  machine_->description().drivers.qualcomm.reset();
  expect_none();
  module_.SetMachine(nullptr);
  expect_none();
}

TEST_F(QualcommDspTest, FormFactorComesFromTheEndpoint) {
  SimulatedEndpoint& endpoint = machine_->description().endpoints.emplace_back();
  endpoint.id = L"{0.0.0.00000000}.{SPEAKERS}";
  const auto form_factor = [&] {
    ComPtr<IMMDeviceEnumerator> devices;
    ComPtr<IMMDevice> device;
    EXPECT_EQ(machine_->CreateDeviceEnumerator(devices.Put()), S_OK);
    EXPECT_EQ(devices->GetDevice(endpoint.id.c_str(), device.Put()), S_OK);
    const auto dsp = Create(device.get());
    EXPECT_EQ(dsp->WriteControls(FakeMode::Make(kWholeMode).get()), S_OK);
    EXPECT_EQ(machine_->ReceivedRecords().back().selector, FormFactor(dsp));
    return FormFactor(dsp);
  };
  const std::pair<std::uint32_t, LONG> cases[] = {{1, ORV_QUMEDIA_SPEAKER},
                                                  {3, ORV_QUMEDIA_HEADSET},
                                                  {5, ORV_QUMEDIA_SPEAKER},
                                                  {0x10003, ORV_QUMEDIA_HEADSET}};
  for (const auto& [platform, expected] : cases) {
    const DiagnosticLog log;
    endpoint.form_factor = platform;
    EXPECT_EQ(form_factor(), expected) << platform;
    EXPECT_TRUE(log.Contains(L"Opened property store for device\n"));
    EXPECT_TRUE(log.Contains(L"QC form factor set to " + std::to_wstring(expected) +
                             L" from endpoint " + std::to_wstring(platform & 0xFFFF) + L"\n"));
  }
  for (const FaultOperation operation : FaultOperations{"device.open_store", "store.get_value"}) {
    machine_->faults().FailAlways(operation, E_ACCESSDENIED);
    EXPECT_EQ(form_factor(), ORV_QUMEDIA_RESERVED) << operation.name();
    machine_->faults().Clear();
  }
  EXPECT_EQ(FormFactor(Create()), ORV_QUMEDIA_RESERVED);
}

TEST_F(QualcommDspTest, EndpointLivesAsLongAsTheObject) {
  const auto mode = FakeMode::Make(kWholeMode);
  IUnknown* const endpoint = static_cast<IORVOperatingMode*>(mode.get());
  const auto references = [&] {
    endpoint->AddRef();
    return endpoint->Release();
  };
  auto dsp = Create(nullptr, endpoint);
  EXPECT_EQ(references(), 2U);
  dsp.Reset();
  EXPECT_EQ(references(), 1U);
  machine_->description().drivers.qualcomm.reset();
  IORVAPOQCDSP* missing = nullptr;
  CreateQualcommDspForEndpoint(module_, endpoint, nullptr, &missing);
  EXPECT_EQ(references(), 1U);
}

TEST_F(QualcommDspTest, AnyAllocationMayFail) {
  const auto mode = FakeMode::Make(kWholeMode);
  const auto run = [&]() -> HRESULT {
    ComPtr<IORVAPOQCDSP> dsp;
    const HRESULT status = CreateQualcommDspForEndpoint(module_, nullptr, nullptr, dsp.Put());
    return FAILED(status) ? status : dsp->WriteControls(mode.get());
  };
  HRESULT status = E_UNEXPECTED;
  int refused = 0;
  WithEveryAllocationFailing(
      [&] { status = run(); },
      [&](std::size_t) {
        // One lost message, or controls cut short by their enumerator, go unnoticed.
        EXPECT_TRUE(status == S_OK || status == E_OUTOFMEMORY || status == E_FAIL);
        refused += status == E_OUTOFMEMORY;
        ASSERT_EQ(module_.lock_count(), 0U);
      });
  EXPECT_GT(refused, 10);
  machine_->faults().Clear();
  EXPECT_EQ(run(), S_OK);
  EXPECT_EQ(machine_->faults().Calls("device.control"), 6U);
}

}  // namespace
}  // namespace orv
