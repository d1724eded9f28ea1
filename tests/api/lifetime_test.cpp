// Objects hold what they need, whatever the order in which a client lets go; and nothing is lost
// when memory runs out.
#include <functional>
#include <random>

#include "api_fixture.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

class LifetimeTest : public ApiTest {
 protected:
  // The machine has every kind of DSP, and plays.
  LifetimeTest() {
    MachineDescription& description = machine_->description();
    const std::wstring speakers = EndpointMachine::DeviceId(kSpeakers);
    description.endpoints.front().is_default = true;
    description.drivers.skylake.emplace().endpoints.push_back({speakers});
    description.drivers.qualcomm.emplace();
    FileError error;
    EXPECT_TRUE(machine_->SetPlayback(
        "{\"endpoints\": [{\"endpoint\": \"" + Utf8FromWide(speakers) + "\"}]}", error))
        << error.Text();
  }

  // One reference to an object of every kind.
  static std::vector<ComPtr<IUnknown>> EveryKind() {
    std::vector<ComPtr<IUnknown>> objects;
    const auto keep = [&objects](const auto& object) {
      objects.push_back(object.template As<IUnknown>());
    };
    const auto endpoints = Endpoints();
    const auto endpoint = Endpoint();
    ComPtr<IORVAPOOpModeEnumerator> modes;
    ComPtr<IORVAPOConfigEnumerator> properties;
    ComPtr<IORVAPOConfigProperty> property;
    EXPECT_EQ(endpoint->GetOpModeEnumerator(modes.Put()), S_OK);
    EXPECT_EQ(endpoint->get_config_enum(properties.Put()), S_OK);
    EXPECT_EQ(properties->Next(property.Put()), S_OK);
    const auto mode = Mode(endpoint);
    keep(System());
    keep(endpoints);
    keep(endpoint);
    keep(modes);
    keep(mode);
    keep(Controls(mode));
    keep(Control(mode, L"VQ3D-Main Tech"));
    keep(properties);
    keep(property);
    ComPtr<IAnalysisData> analysis;
    ComPtr<IKELAPOIntelDSP> intel;
    ComPtr<IORVAPOQCDSP> qualcomm;
    EXPECT_EQ(endpoint->get_AnalysisData(analysis.Put()), S_OK);
    EXPECT_EQ(endpoint->GetIntelInterface(intel.Put()), S_OK);
    EXPECT_EQ(endpoint->GetQCDSPInterface(qualcomm.Put()), S_OK);
    keep(analysis);
    keep(intel);
    keep(qualcomm);
    return objects;
  }
};

TEST_F(LifetimeTest, ObjectsMayBeReleasedInAnyOrder) {
  std::mt19937 random(20110);
  for (int round = 0; round < 50; ++round) {
    auto objects = EveryKind();
    std::shuffle(objects.begin(), objects.end(), random);
    while (!objects.empty()) {
      EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
      objects.pop_back();
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
  }
}

// Runs one operation with its nth allocation failing, for growing n until it needs fewer than n.
// Each time it either succeeds or says that memory ran out, and then works.
class OutOfMemoryTest : public LifetimeTest {
 protected:
  using Operation = std::function<HRESULT()>;

  static void ExpectNothingLost(const char* name, const Operation& operation) {
    ASSERT_GE(operation(), S_OK) << name;  // what is built once is there
    const std::uint32_t objects = ComponentModule().lock_count();
    // Every one of the first fifty, then ever fewer: operations with thousands of allocations
    // repeat the same few.
    for (std::size_t nth = 1;; nth += 1 + nth / 50) {
      HRESULT status = S_OK;
      bool failed = false;
      {
        const FailingAllocations failing(nth);
        status = operation();
        failed = failing.failed();
      }
      if (!failed) break;
      ASSERT_TRUE(SUCCEEDED(status) || status == E_OUTOFMEMORY)
          << name << ", allocation " << nth << ": 0x" << std::hex << status;
      ASSERT_EQ(ComponentModule().lock_count(), objects) << name << ", allocation " << nth;
      ASSERT_GE(operation(), S_OK) << name << " after allocation " << nth;
    }
  }

  // An operation with an out-parameter, in which a failure leaves null or the poison.
  template <class Interface>
  static void ExpectNothingLost(const char* name,
                                const std::function<HRESULT(Interface**)>& operation) {
    ExpectNothingLost(name, [&operation] {
      auto* object = Poison<Interface>();
      const HRESULT status = operation(&object);
      if (status == S_OK) {
        object->Release();
      } else if (object != nullptr && object != Poison<Interface>()) {
        return E_UNEXPECTED;
      }
      return status;
    });
  }
};

TEST_F(OutOfMemoryTest, CreationAndWalkingLoseNothing) {
  const auto system = System();
  ExpectNothingLost("CreateInstance, InitializeSystem", [folder = TechnologyFolder()] {
    IClassFactory* factory = nullptr;
    HRESULT status = DllGetClassObject(CLSID_ORVAPOSystem, IID_IClassFactory,
                                       reinterpret_cast<void**>(&factory));
    if (status != S_OK) return status;
    ComPtr<IORVAPOSystem> fresh;  // released even when initialising it failed
    status = factory->CreateInstance(nullptr, IID_IORVAPOSystem, fresh.PutVoid());
    factory->Release();
    if (status != S_OK) return status;
    return fresh->InitializeSystem(const_cast<BSTR>(folder.c_str()));
  });
  ExpectNothingLost<IORVEndpointEnumerator>("EnumerateORVEndpoints", [&](auto** endpoints) {
    return system->EnumerateORVEndpoints(endpoints);
  });
  const auto endpoints = Endpoints();
  ExpectNothingLost<IORVEndpointInfo>("enumerator Next", [&](auto** endpoint) {
    endpoints->Reset();
    return endpoints->Next(endpoint);
  });
  const auto endpoint = Endpoint();
  const auto before = Mode(endpoint);
  ExpectNothingLost<IORVOperatingMode>("GetOpModeEnumerator, Next", [&](auto** mode) {
    ComPtr<IORVAPOOpModeEnumerator> modes;
    const HRESULT status = endpoint->GetOpModeEnumerator(modes.Put());
    return status == S_OK ? modes->Next(mode) : status;
  });
  ExpectNothingLost<IORVAPOControl>("get_ORVAPOControlEnumerator, Next", [&](auto** control) {
    ComPtr<IORVAPOControlEnumerator> controls;
    const HRESULT status = before->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, controls.Put());
    return status == S_OK ? controls->Next(control) : status;
  });
  ExpectNothingLost<IORVAPOConfigProperty>("get_config_enum, Next", [&](auto** property) {
    ComPtr<IORVAPOConfigEnumerator> properties;
    const HRESULT status = endpoint->get_config_enum(properties.Put());
    return status == S_OK ? properties->Next(property) : status;
  });
}

TEST_F(OutOfMemoryTest, ChangesLoseNothing) {
  const auto endpoint = Endpoint();
  const auto movie = Mode(endpoint, kMovie);
  const auto level = Control(movie, L"VQ3D-DPHD Level");
  const auto tech = Control(movie, L"VQ3D-Main Tech");
  ExpectNothingLost("put_OpMode", [&] { return endpoint->put_OpMode(movie.get()); });
  ExpectNothingLost<IORVOperatingMode>("get_OpMode",
                                       [&](auto** mode) { return endpoint->get_OpMode(mode); });
  ExpectNothingLost("put_Value", [&] { return level->put_Value(77); });
  ExpectNothingLost("put_Value of a choice", [&] { return tech->put_Value(3); });
  ExpectNothingLost("get_Value", [&] {
    LONG value = 0;
    return tech->get_Value(&value);
  });
  ExpectNothingLost("put_APOEnable", [&] { return movie->put_APOEnable(0); });
  ExpectNothingLost("SetConfig", [&] {
    const HRESULT status = endpoint->SetConfig(kORVAPO_EPCfg_None);
    // The modes of the last successful load are always there.
    ComPtr<IORVOperatingMode> mode;
    const FailingAllocations enough(0);
    EXPECT_EQ(endpoint->get_OpMode(mode.Put()), S_OK);
    return status;
  });
  EXPECT_EQ(ValueOf(level), 77);
  EXPECT_EQ(ValueOf(tech), 3);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "77");
  EXPECT_EQ(Stored(L"OrvApoGlobal", L"ZAPO3-Process Enable"), "0");
  ExpectNothingLost("RestoreDefaults", [&] { return movie->RestoreDefaults(); });
  EXPECT_EQ(ValueOf(level), 40);
  EXPECT_EQ(ValueOf(tech), 2);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "40");
  EXPECT_EQ(Stored(kMovie, L"VQ3D-Bypass Gain"), "-30");  // private ones are stored with them
}

TEST_F(OutOfMemoryTest, RegistrationAndTextsLoseNothing) {
  const auto endpoint = Endpoint();
  const auto control = Control(Mode(endpoint), L"VQ3D-Main Tech");
  ExpectNothingLost("texts", [&] {
    BSTR text = nullptr;
    HRESULT status = endpoint->get_FriendlyName(&text);
    SysFreeString(std::exchange(text, nullptr));
    if (SUCCEEDED(status)) status = control->get_DisplayValue(&text);
    SysFreeString(text);
    return status;
  });
  ExpectNothingLost("get_HeadsetConnected", [&] {
    LONG connected = 0;
    return endpoint->get_HeadsetConnected(&connected);
  });
  ExpectNothingLost("DllRegisterServer", DllRegisterServer);
  ExpectNothingLost("DllUnregisterServer", DllUnregisterServer);
}

}  // namespace
}  // namespace orv
