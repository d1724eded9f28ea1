// The Qualcomm DSP object between a client's mode and the driver's messages.
#include "qc_dsp/qualcomm_dsp.h"

#include <gtest/gtest.h>

#include "fake_driver.h"
#include "fake_mode.h"
#include "support/diagnostic_log.h"
#include "support/endpoint_fixture.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

const std::vector<ListedControl> kWholeMode = {
    {L"QUMEDIA-Process Enable", 1},  {L"QUMEDIA-Main Tech", 1},
    {L"QUMEDIA-HPF Enable", 0},      {L"QUMEDIA-HPF Order", 2},
    {L"QUMEDIA-HPF Frequency", 100}, {L"QUMEDIA-Hard Limiter Enable", 1},
    {L"QUMEDIA-Link PEQ Enable", 0}, {L"QUMEDIA-DPHD Speaker Audio Custom Size", 185},
};

class QualcommDspTest : public ::testing::Test {
 protected:
  QualcommDspTest() { module_.SetMachine(machine_); }
  ~QualcommDspTest() override {
    EXPECT_EQ(module_.lock_count(), 0U);
    EXPECT_EQ(driver_.open_files, 0);
  }

  ComPtr<IORVAPOQCDSP> Create(IMMDevice* device = nullptr, IUnknown* endpoint = nullptr) {
    ComPtr<IORVAPOQCDSP> dsp;
    EXPECT_EQ(CreateQualcommDspForEndpoint(module_, endpoint, device, dsp.Put()), S_OK);
    return dsp;
  }
  static ComPtr<FakeMode> ModeOf(std::vector<ListedControl> controls) {
    return ComPtr<FakeMode>::Adopt(new FakeMode(std::move(controls)));
  }
  HRESULT Write(const std::vector<ListedControl>& controls) {
    driver_.messages.clear();
    return Create()->WriteControls(ModeOf(controls).get());
  }
  std::vector<std::uint32_t> Sent() const {
    std::vector<std::uint32_t> parameters;
    for (const Bytes& message : driver_.messages) parameters.push_back(ParameterOf(message) & 0xFF);
    return parameters;
  }
  static LONG FormFactor(const ComPtr<IORVAPOQCDSP>& dsp) {
    auto form_factor = static_cast<_ORVQuMediaDeviceType>(-77);
    EXPECT_EQ(dsp->get_EndpointFormFactor(&form_factor), S_OK);
    return form_factor;
  }

  FakeDriver driver_;
  std::shared_ptr<DriverMachine> machine_ = std::make_shared<DriverMachine>(driver_);
  Module module_{{}, [] { return std::shared_ptr<Machine>(); }};
};

TEST_F(QualcommDspTest, RecordsGoInTheirOrderEachInOneMessage) {
  const DiagnosticLog log;
  const auto dsp = Create();
  EXPECT_EQ(dsp->put_EndpointFormFactor(ORV_QUMEDIA_BLUETOOTH), S_OK);
  EXPECT_EQ(dsp->WriteControls(ModeOf(kWholeMode).get()), S_OK);
  EXPECT_EQ(Sent(), (std::vector<std::uint32_t>{0x12, 0x13, 0x14, 0x16, 0x15, 0x11}));

  QualcommControls controls;
  for (const ListedControl& control : kWholeMode) controls[control.name] = control.value;
  for (const Bytes& message : driver_.messages) {
    const auto parameter = static_cast<QualcommParameter>(ParameterOf(message));
    const QualcommRecord record(parameter, controls);
    Bytes expected(12);
    StoreField(expected, 0, FieldType::U32, parameter);
    StoreField(expected, 4, FieldType::U32, 4);
    StoreField(expected, 8, FieldType::U32, static_cast<std::int64_t>(record.payload().size()));
    expected.insert(expected.end(), record.payload().begin(), record.payload().end());
    expected.resize(expected.size() + 4);
    EXPECT_EQ(message, expected) << parameter;
  }
  EXPECT_EQ(driver_.messages.back().size(), 24U);
  EXPECT_EQ(driver_.messages.back()[12], std::byte(0x23));
  EXPECT_TRUE(log.Contains(L"| CORVAPOQCDSP::WriteControls | Added QUMEDIA-HPF Order\n"));
  EXPECT_TRUE(
      log.Contains(L"| CORVAPOQCDSP::WriteWIDHDControlsToQCDriver | WIDHD DP Analysis: "
                   L"185, DP Audio: 185\n"));
  EXPECT_TRUE(log.Contains(L" | MXHP DP Analysis: 185, DP Audio: 185\n"));
}

TEST_F(QualcommDspTest, BlocksThatTheModeLacksAreNotSent) {
  EXPECT_EQ(Write({{L"Somebody else's", 1}}), S_OK);
  ASSERT_EQ(Sent(), std::vector<std::uint32_t>{0x11});
  EXPECT_EQ(Number(driver_.messages[0], 12, FieldType::U32), 0);
  EXPECT_EQ(Write({{L"QUMEDIA-Main Tech", 4}}), S_OK);
  EXPECT_EQ(Sent(), (std::vector<std::uint32_t>{0x12, 0x13, 0x11}));
  EXPECT_EQ(Number(driver_.messages[2], 12, FieldType::U32), 4);
  EXPECT_EQ(Write({{L"QUMEDIA-Hard Limiter Enable", 0}, {L"qumedia-hpf enable", 1}}), S_OK);
  EXPECT_EQ(Sent(), (std::vector<std::uint32_t>{0x16, 0x11}));
}

TEST_F(QualcommDspTest, LaterControlOfANameWinsAndNamelessOnesArePassedOver) {
  EXPECT_EQ(Write({{L"QUMEDIA-Process Enable", 0}, {L"", 5}, {L"QUMEDIA-Process Enable", 3}}),
            S_OK);
  EXPECT_EQ(Number(driver_.messages.back(), 12, FieldType::U32), 1);
  for (const auto& controls : {std::vector<ListedControl>(), {{L"", 5}}}) {
    EXPECT_EQ(Write(controls), E_FAIL);
    EXPECT_TRUE(driver_.messages.empty());
  }
}

TEST_F(QualcommDspTest, ControlsOfAnEarlierWriteAreForgotten) {
  const auto dsp = Create();
  EXPECT_EQ(dsp->WriteControls(ModeOf(kWholeMode).get()), S_OK);
  driver_.messages.clear();
  EXPECT_EQ(dsp->WriteControls(ModeOf({{L"QUMEDIA-DC Enable", 1}}).get()), S_OK);
  ASSERT_EQ(Sent(), std::vector<std::uint32_t>{0x11});
  EXPECT_EQ(Number(driver_.messages[0], 12, FieldType::U32), 0);
}

TEST_F(QualcommDspTest, RefusalsComeBackAsStatuses) {
  const auto dsp = Create();
  EXPECT_EQ(dsp->WriteControls(nullptr), E_POINTER);
  const auto mode = ModeOf(kWholeMode);
  mode->refusal = E_ACCESSDENIED;
  EXPECT_EQ(dsp->WriteControls(mode.get()), E_ACCESSDENIED);
  EXPECT_TRUE(driver_.messages.empty());
  driver_.answer = kDeviceGenFailure;  // what the driver says of a record goes unnoticed
  EXPECT_EQ(Write(kWholeMode), S_OK);
  EXPECT_EQ(driver_.messages.size(), 6U);
}

TEST_F(QualcommDspTest, ObjectWithoutEndpointHasNoDriver) {
  ComPtr<IORVAPOQCDSP> dsp;
  EXPECT_EQ(CreateQualcommDspForClient(module_, nullptr, IID_IORVAPOQCDSP, dsp.PutVoid()), S_OK);
  EXPECT_EQ(dsp->WriteControls(ModeOf(kWholeMode).get()), E_NOTIMPL);
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
  machine_->interfaces = {{L"a", false}, {L"b", true}, {L"c", true}};
  auto dsp = Create();
  EXPECT_EQ(machine_->opened, (std::vector<std::wstring>{L"a", L"b"}));
  EXPECT_EQ(driver_.open_files, 1);
  dsp.Reset();
  EXPECT_EQ(driver_.open_files, 0);

  for (const auto& none : {decltype(machine_->interfaces)(), {{L"a", false}}}) {
    machine_->interfaces = none;
    auto* missing = reinterpret_cast<IORVAPOQCDSP*>(0xBAD0BAD0);
    EXPECT_EQ(CreateQualcommDspForEndpoint(module_, nullptr, nullptr, &missing), E_NOTIMPL);
    EXPECT_EQ(missing, nullptr);
  }
  module_.SetMachine(nullptr);
  IORVAPOQCDSP* missing = nullptr;
  EXPECT_EQ(CreateQualcommDspForEndpoint(module_, nullptr, nullptr, &missing), E_NOTIMPL);
}

TEST_F(QualcommDspTest, FormFactorComesFromTheEndpoint) {
  EndpointMachine endpoints;
  endpoints.AddSpeakers();
  SimulatedEndpoint& endpoint = endpoints->description().endpoints.back();
  const auto form_factor = [&] {
    return FormFactor(Create(endpoints.Device(EndpointMachine::DeviceId(kSpeakers)).get()));
  };
  const std::pair<std::uint32_t, LONG> cases[] = {{1, ORV_QUMEDIA_SPEAKER},
                                                  {3, ORV_QUMEDIA_HEADSET},
                                                  {5, ORV_QUMEDIA_SPEAKER},
                                                  {9, ORV_QUMEDIA_SPEAKER},
                                                  {0x10003, ORV_QUMEDIA_HEADSET}};
  for (const auto& [platform, expected] : cases) {
    endpoint.form_factor = platform;
    EXPECT_EQ(form_factor(), expected) << platform;
  }
  const DiagnosticLog log;
  endpoint.form_factor = 3;
  form_factor();
  EXPECT_TRUE(log.Contains(L"| CORVAPOQCDSP::Init | CORVAPOQCDSP::init\n"));
  EXPECT_TRUE(log.Contains(L"Got MMDevice pointer 0x"));
  EXPECT_TRUE(log.Contains(L"Opened property store for device\n"));
  EXPECT_TRUE(log.Contains(L"QC form factor set to 2 from endpoint 3\n"));

  for (const char* operation : {"device.open_store", "store.get_value"}) {
    endpoints->faults().FailAlways(operation, E_ACCESSDENIED);
    EXPECT_EQ(form_factor(), ORV_QUMEDIA_RESERVED) << operation;
    endpoints->faults().Clear();
  }
  EXPECT_EQ(FormFactor(Create()), ORV_QUMEDIA_RESERVED);
}

TEST_F(QualcommDspTest, EndpointLivesAsLongAsTheObject) {
  const auto endpoint = ComPtr<FakeMode>::Adopt(new FakeMode({}));
  const auto references = [&] {
    endpoint->AddRef();
    return endpoint->Release();
  };
  auto dsp = Create(nullptr, static_cast<IORVOperatingMode*>(endpoint.get()));
  EXPECT_EQ(references(), 2U);
  dsp.Reset();
  EXPECT_EQ(references(), 1U);
  machine_->interfaces.clear();
  IORVAPOQCDSP* missing = nullptr;
  CreateQualcommDspForEndpoint(module_, static_cast<IORVOperatingMode*>(endpoint.get()), nullptr,
                               &missing);
  EXPECT_EQ(references(), 1U);
}

TEST_F(QualcommDspTest, AnyAllocationMayFail) {
  const auto mode = ModeOf(kWholeMode);
  const auto run = [&]() -> HRESULT {
    ComPtr<IORVAPOQCDSP> dsp;
    const HRESULT status = CreateQualcommDspForEndpoint(module_, nullptr, nullptr, dsp.Put());
    return FAILED(status) ? status : dsp->WriteControls(mode.get());
  };
  bool failed = true;
  int refused = 0;
  for (std::size_t nth = 1; failed; ++nth) {
    HRESULT status = E_UNEXPECTED;
    {
      const FailingAllocations failing(nth);
      status = run();
      failed = failing.failed();
    }
    // One lost message, or controls cut short by their enumerator, go unnoticed.
    EXPECT_TRUE(status == S_OK || status == E_OUTOFMEMORY || status == E_FAIL) << nth;
    refused += status == E_OUTOFMEMORY;
    ASSERT_EQ(module_.lock_count(), 0U) << nth;
    ASSERT_EQ(driver_.open_files, 0) << nth;
  }
  EXPECT_GT(refused, 10);
  driver_.messages.clear();
  EXPECT_EQ(run(), S_OK);
  EXPECT_EQ(driver_.messages.size(), 6U);
}

}  // namespace
}  // namespace orv
