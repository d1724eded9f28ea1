// The registered component as programs get it from the COM runtime, on this machine's own default
// device.
#include <comdef.h>
#include <wrl/client.h>

#include <filesystem>

#include "component_file.h"
#include "platform/com_ptr.h"
#include "platform/com_runtime.h"
#include "support/footprint.h"

namespace orv {
namespace {

namespace fs = std::filesystem;

// The component is registered; the default device has a configuration file and a technology
// library.
class WindowsObjectsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const fs::path configuration = "C:\\Program Files\\ORV Labs\\APO";
    fs::create_directories(configuration);
    fs::copy_file(DriveZPath(ORV_CONFIGURATION), configuration / "orv_apo_config.xml",
                  fs::copy_options::overwrite_existing);
    ASSERT_EQ(RunRegistrationTool(L""), 0U);
  }
  static void TearDownTestSuite() { RunRegistrationTool(L"/u"); }

  static ComPtr<IORVEndpointEnumerator> Endpoints() {
    ComPtr<IORVAPOSystem> system;
    EXPECT_EQ(CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER,
                               IID_PPV_ARGS(system.Put())),
              S_OK);
    EXPECT_EQ(system->InitializeSystem(nullptr), S_OK);
    ComPtr<IORVEndpointEnumerator> endpoints;
    EXPECT_EQ(system->EnumerateORVEndpoints(endpoints.Put()), S_OK);
    return endpoints;
  }
};

TEST_F(WindowsObjectsTest, RuntimeUnloadsTheLibraryAfterUse) {
  {
    const ComRuntime runtime;
    Endpoints();
    EXPECT_NE(GetModuleHandleW(L"orv_apo_controller.dll"), nullptr);
  }
  EXPECT_EQ(GetModuleHandleW(L"orv_apo_controller.dll"), nullptr);
}

TEST_F(WindowsObjectsTest, SmartPointersOfThePlatformKnowTheInterfaces) {
  const ComRuntime runtime;
  _com_ptr_t<_com_IIID<IORVAPOSystem, &__uuidof(IORVAPOSystem)>> system;
  ASSERT_EQ(system.CreateInstance(CLSID_ORVAPOSystem), S_OK);
  ASSERT_EQ(system->InitializeSystem(nullptr), S_OK);
  Microsoft::WRL::ComPtr<IORVEndpointEnumerator> endpoints;
  Microsoft::WRL::ComPtr<IORVEndpointInfo> first;
  Microsoft::WRL::ComPtr<IORVEndpointInfo5> endpoint;
  ASSERT_EQ(system->EnumerateORVEndpoints(&endpoints), S_OK);
  ASSERT_EQ(endpoints->Next(&first), S_OK);
  EXPECT_EQ(first.As(&endpoint), S_OK);
}

// Neither DSP is there, and the platform under test gives no capture service for a loopback stream.
TEST_F(WindowsObjectsTest, EndpointsControlsAndServicesWithoutTheirDeviceLeaveNothingBehind) {
  const ComRuntime runtime;
  const auto endpoints = Endpoints();
  constexpr HRESULT kWrongEndpointType = static_cast<HRESULT>(0x88890003);
  const auto open_ask_and_close = [&] {
    ComPtr<IORVEndpointInfo> first;
    EXPECT_EQ(endpoints->Reset(), S_OK);
    ASSERT_EQ(endpoints->Next(first.Put()), S_OK);
    ComPtr<IORVOperatingMode> mode;
    EXPECT_EQ(first->get_OpMode(mode.Put()), S_OK);
    ComPtr<IORVAPOControlEnumerator> controls;
    ComPtr<IORVAPOControl> control;
    EXPECT_EQ(mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put()), S_OK);
    EXPECT_EQ(controls->Next(control.Put()), S_OK);
    const auto endpoint = first.As<IORVEndpointInfo5>();
    auto* intel = reinterpret_cast<IKELAPOIntelDSP*>(endpoint.get());
    auto* qualcomm = reinterpret_cast<IORVAPOQCDSP*>(endpoint.get());
    auto* analysis = reinterpret_cast<IAnalysisData*>(endpoint.get());
    EXPECT_EQ(endpoint->GetIntelInterface(&intel), E_FAIL);
    EXPECT_EQ(endpoint->GetQCDSPInterface(&qualcomm), E_NOTIMPL);
    EXPECT_EQ(endpoint->get_AnalysisData(&analysis), kWrongEndpointType);
    EXPECT_TRUE(intel == nullptr && qualcomm == nullptr && analysis == nullptr);
  };
  constexpr std::size_t kOfTheStream = 96;  // seen on Wine 8.0: each stream that is initialised
  ExpectNothingLeftBehind(Rounds(1000), open_ask_and_close, kOfTheStream);
}

}  // namespace
}  // namespace orv
