// The registered component as programs get it from the COM runtime, on this machine's own default
// device.
#include <filesystem>
#include <functional>
#include <thread>

#include "component_file.h"
#include "platform/com_ptr.h"
#include "platform/windows/handle_level.h"

namespace orv {
namespace {

namespace fs = std::filesystem;

constexpr int kHandleRounds = 10000;

class Apartment {
 public:
  explicit Apartment(DWORD model) : status_(CoInitializeEx(nullptr, model)) {
    EXPECT_EQ(status_, S_OK);
  }
  ~Apartment() {
    if (SUCCEEDED(status_)) CoUninitialize();
  }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;

 private:
  HRESULT status_;
};

template <class Interface>
ComPtr<Interface> Create(const CLSID& class_id) {
  ComPtr<Interface> object;
  EXPECT_EQ(CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER,
                             orv_apo::InterfaceId<Interface>::value, object.PutVoid()),
            S_OK);
  return object;
}

// The component is registered; the default device has a configuration file and a technology
// library.
class WindowsObjectsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const fs::path configuration = "C:\\Program Files\\ORV Labs\\APO";
    fs::create_directories(configuration);
    fs::copy_file(WindowsPath(ORV_CONFIGURATION), configuration / "orv_apo_config.xml",
                  fs::copy_options::overwrite_existing);
    ASSERT_EQ(RunRegistrationTool(L""), 0U);
  }
  static void TearDownTestSuite() { RunRegistrationTool(L"/u"); }

  static ComPtr<IORVEndpointEnumerator> Endpoints() {
    const auto system = Create<IORVAPOSystem>(CLSID_ORVAPOSystem);
    EXPECT_EQ(system->InitializeSystem(nullptr), S_OK);
    ComPtr<IORVEndpointEnumerator> endpoints;
    EXPECT_EQ(system->EnumerateORVEndpoints(endpoints.Put()), S_OK);
    return endpoints;
  }
  static ComPtr<IORVEndpointInfo> DefaultEndpoint() {
    ComPtr<IORVEndpointInfo> endpoint;
    EXPECT_EQ(Endpoints()->Next(endpoint.Put()), S_OK);
    return endpoint;
  }
};

void InThread(const std::function<void()>& work) { std::thread(work).join(); }

// Neither DSP is there, and the platform under test gives no capture service for a loopback stream.
TEST_F(WindowsObjectsTest, ServicesWithoutTheirDeviceSayWhyAndLeaveNothingBehind) {
  InThread([] {
    const Apartment apartment(COINIT_MULTITHREADED);
    const auto endpoint = DefaultEndpoint().As<IORVEndpointInfo5>();
    ASSERT_TRUE(endpoint);
    constexpr HRESULT kWrongEndpointType = static_cast<HRESULT>(0x88890003);
    const auto ask = [&] {
      auto* intel = reinterpret_cast<IKELAPOIntelDSP*>(endpoint.get());
      auto* qualcomm = reinterpret_cast<IORVAPOQCDSP*>(endpoint.get());
      auto* analysis = reinterpret_cast<IAnalysisData*>(endpoint.get());
      EXPECT_EQ(endpoint->GetIntelInterface(&intel), E_FAIL);
      EXPECT_EQ(endpoint->GetQCDSPInterface(&qualcomm), E_NOTIMPL);
      EXPECT_EQ(endpoint->get_AnalysisData(&analysis), kWrongEndpointType);
      EXPECT_EQ(intel, nullptr);
      EXPECT_EQ(qualcomm, nullptr);
      EXPECT_EQ(analysis, nullptr);
    };
    constexpr int kRounds = 1000;
    ExpectNoHandleLeftBehind(kRounds, ask);
  });
}

TEST_F(WindowsObjectsTest, BothApartmentsGetTheDefaultDevice) {
  for (const DWORD model : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
    InThread([model] {
      const Apartment apartment(model);
      const auto endpoint = DefaultEndpoint();
      ASSERT_TRUE(endpoint);
      BSTR text = nullptr;
      ASSERT_EQ(endpoint->get_FriendlyName(&text), S_OK);
      EXPECT_GT(SysStringLen(text), 1U);
      SysFreeString(text);
      ASSERT_EQ(endpoint->get_RegistryPath(&text), S_OK);
      EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, text));
      SysFreeString(text);
      ComPtr<IORVOperatingMode> mode;
      EXPECT_EQ(endpoint->get_OpMode(mode.Put()), S_OK);
    });
  }
}

TEST_F(WindowsObjectsTest, LockedFactoryKeepsTheLibrary) {
  const Apartment apartment(COINIT_MULTITHREADED);
  const LoadedComponent component;
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(CoGetClassObject(CLSID_ORVAPOSystem, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                             factory.PutVoid()),
            S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(component.CanUnloadNow(), S_FALSE);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  factory.Reset();  // held, it would keep the library too
  EXPECT_EQ(component.CanUnloadNow(), S_OK);
}

TEST_F(WindowsObjectsTest, RuntimeUnloadsTheLibraryAfterUse) {
  InThread([] {
    {
      const Apartment apartment(COINIT_MULTITHREADED);
      EXPECT_TRUE(DefaultEndpoint());
      EXPECT_NE(GetModuleHandleW(L"orv_apo_controller.dll"), nullptr);
    }
    EXPECT_EQ(GetModuleHandleW(L"orv_apo_controller.dll"), nullptr);
  });
}

TEST_F(WindowsObjectsTest, EndpointsAndControlsLeaveNoHandlesBehind) {
  const Apartment apartment(COINIT_MULTITHREADED);
  const LoadedComponent component;
  const auto endpoints = Endpoints();
  ComPtr<IORVEndpointInfo> endpoint;
  ASSERT_EQ(endpoints->Next(endpoint.Put()), S_OK);
  const auto open_and_close = [&] {
    ComPtr<IORVEndpointInfo> again;
    EXPECT_EQ(endpoints->Reset(), S_OK);
    EXPECT_EQ(endpoints->Next(again.Put()), S_OK);
    ComPtr<IORVOperatingMode> mode;
    EXPECT_EQ(again->get_OpMode(mode.Put()), S_OK);
    ComPtr<IORVAPOControlEnumerator> controls;
    ComPtr<IORVAPOControl> control;
    EXPECT_EQ(mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put()), S_OK);
    EXPECT_EQ(controls->Next(control.Put()), S_OK);
  };
  ExpectNoHandleLeftBehind(kHandleRounds, open_and_close);
}

}  // namespace
}  // namespace orv
