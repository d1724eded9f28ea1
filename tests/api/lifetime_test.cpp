// Objects hold what they need in any order of release and on any thread, and nothing is lost when
// memory runs out.
#include <functional>
#include <random>
#include <thread>

#include "api_fixture.h"
#include "support/every_failure.h"
#include "support/footprint.h"

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
    const auto endpoint = Endpoint();
    const auto mode = Mode(endpoint);
    const auto properties = From(endpoint, &IORVEndpointInfo2::get_config_enum);
    const auto all = [](const auto&... objects) {
      return std::vector{objects.template As<IUnknown>()...};
    };
    return all(System(), Endpoints(), endpoint, mode, properties, Controls(mode),
               Control(mode, L"VQ3D-Main Tech"), From(properties, &IORVAPOConfigEnumerator::Next),
               From(endpoint, &IORVEndpointInfo::GetOpModeEnumerator),
               From(endpoint, &IORVEndpointInfo5::get_AnalysisData),
               From(endpoint, &IORVEndpointInfo5::GetIntelInterface),
               From(endpoint, &IORVEndpointInfo5::GetQCDSPInterface));
  }
};

TEST_F(LifetimeTest, ObjectsReleasedInAnyOrderLeaveNothingBehind) {
  std::mt19937 random(20110);
  ExpectNothingLeftBehind(Rounds(50), [&] {
    auto objects = EveryKind();
    std::shuffle(objects.begin(), objects.end(), random);
    while (!objects.empty()) {
      EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
      objects.pop_back();
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
  });
}

// Counts that are lost keep the library loaded, or end an object too early.
TEST_F(LifetimeTest, RelatedObjectsMayBeUsedByDifferentThreads) {
  AddEndpoint(kHeadphones, kTwoModes);
  auto endpoint = Endpoint();
  auto mode = Mode(endpoint);
  auto properties = From(endpoint, &IORVEndpointInfo5::get_config_enum);
  std::vector<std::thread> threads;
  const auto repeat = [&threads](int rounds, auto&& round) {
    threads.emplace_back([rounds, own = std::forward<decltype(round)>(round)] {
      for (int i = 0; i < rounds; ++i) own();
    });
  };
  // Each object moves to the thread that uses it, and ends there.
  for (const wchar_t* name : {L"VQ3D-Main Tech", L"VQ3D-DPHD Level"}) {
    threads.emplace_back([name, mine = Controls(mode)] {
      ComPtr<IORVAPOControl> control;
      for (LONG round = 0; round < 60000; ++round) {
        EXPECT_EQ(mine->GetControlFromName(Bstr(name), control.Put()), S_OK);
        if (round % 64 != 0) continue;
        EXPECT_EQ(control->put_Value(round % 3), S_OK);
        for (int again = 0; again < 16; ++again) EXPECT_EQ(ValueOf(control), round % 3);
      }
    });
  }
  repeat(300, [mine = std::exchange(properties, {})] {
    ComPtr<IORVAPOConfigProperty> property;
    EXPECT_EQ(mine->get_ConfigProperty(Bstr(L"Product Name"), property.Put()), S_OK);
  });
  repeat(100, [mine = Mode(endpoint, kMusic)] { EXPECT_EQ(mine->put_APOEnable(1), S_OK); });
  repeat(2000, [mine = std::exchange(mode, {})] { Controls(mine); });
  repeat(100, [mine = std::exchange(endpoint, {})] { NameOf(*Mode(mine)); });
  repeat(20, [] { NameOf(*Mode(Endpoint(kHeadphones))); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "1");
}

TEST_F(LifetimeTest, IntelDspObjectsOfDifferentThreadsTakeTurns) {
  const auto work = [] {
    const auto endpoint = Endpoint();
    for (int round = 0; round < 30; ++round) {
      // Replaces what the others use.
      const auto dsp = From(endpoint, &IORVEndpointInfo5::GetIntelInterface);
      ASSERT_TRUE(dsp);
      BYTE version = 0;
      BYTE features = 0;
      EXPECT_EQ(dsp->GetAPIVersion(&version, &features), S_OK);
      EXPECT_EQ(dsp.As<IKELAPOIntelDSP2>()->put_APOEnable(1, 0), S_OK);
    }
  };
  std::thread other(work);
  work();
  other.join();
}

TEST_F(LifetimeTest, ObjectsThatClientsMakeCanBePartsOfOthers) {
  const std::pair<CLSID, IID> classes[] = {
      {CLSID_ORVAPOSystem, IID_IORVAPOSystem},
      {CLSID_ORVAPOCOMControl, IID_IORVAPOControl},
      {CLSID_ORVAPOConfigEnumerator, IID_IORVAPOConfigEnumerator},
      {CLSID_ORVAPOConfigProperty, IID_IORVAPOConfigProperty},
      {CLSID_KELAPOIntelDSP, IID_IKELAPOIntelDSP4},
      {CLSID_ORVAPOQCDSP, IID_IORVAPOQCDSP}};
  for (const auto& [class_id, iid] : classes) {
    const auto outer = Create<IORVAPOConfigProperty>(CLSID_ORVAPOConfigProperty);
    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> inner;
    ComPtr<IUnknown> part;
    EXPECT_EQ(DllGetClassObject(class_id, IID_IClassFactory, factory.PutVoid()), S_OK);
    ASSERT_EQ(factory->CreateInstance(outer.get(), IID_IUnknown, inner.PutVoid()), S_OK);
    ASSERT_EQ(inner->QueryInterface(iid, part.PutVoid()), S_OK);
    outer->AddRef();
    EXPECT_EQ(outer->Release(), 2U);  // the part counts where it belongs
  }
}

// Runs one operation with its nth allocation failing, for growing n until it needs fewer than n.
// Each time it either succeeds or reports that memory ran out, and then works.
class OutOfMemoryTest : public LifetimeTest {
 protected:
  using Operation = std::function<HRESULT()>;

  static void ExpectNothingLost(const char* name, const Operation& operation) {
    SCOPED_TRACE(name);
    ASSERT_GE(operation(), S_OK);  // what is built once is there
    const std::uint32_t objects = ComponentModule().lock_count();
    HRESULT status = S_OK;
    WithEveryAllocationFailing([&] { status = operation(); },
                               [&](std::size_t) {
                                 ASSERT_TRUE(SUCCEEDED(status) || status == E_OUTOFMEMORY);
                                 ASSERT_EQ(ComponentModule().lock_count(), objects);
                                 ASSERT_GE(operation(), S_OK);
                               });
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

// Items of a walk in which each call fails once before it succeeds.
template <class Item, class Enumerator>
std::size_t CountWithFailures(Enumerator& enumerator) {
  for (std::size_t count = 0;; ++count) {
    ComPtr<Item> item;
    {
      const FailingAllocations failing(1);
      const HRESULT status = enumerator.Next(item.Put());
      if (status == S_FALSE) return count;
      EXPECT_EQ(status, E_OUTOFMEMORY);
    }
    EXPECT_EQ(enumerator.Next(item.Put()), S_OK);
  }
}

TEST_F(OutOfMemoryTest, EnumeratorsOfControlsAndPropertiesStayWhereTheyAre) {
  const auto endpoint = Endpoint();
  const auto properties = From(endpoint, &IORVEndpointInfo5::get_config_enum);
  EXPECT_EQ(CountWithFailures<IORVAPOConfigProperty>(*properties), 3U);
  EXPECT_EQ(CountWithFailures<IORVAPOControl>(*Controls(Mode(endpoint))), 4U);
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
  ExpectNothingLost("BeginUpdate, CommitUpdate", [&, update = movie.As<IORVValueUpdate>()] {
    HRESULT status = update->BeginUpdate();
    if (status == S_OK) status = level->put_Value(78);
    if (status == S_OK) return update->CommitUpdate();
    update->CancelUpdate();
    return status;
  });
  ExpectNothingLost("put_APOEnable", [&] { return movie->put_APOEnable(0); });
  ExpectNothingLost("SetConfig", [&] {
    const HRESULT status = endpoint->SetConfig(kORVAPO_EPCfg_None);
    const FailingAllocations enough(0);
    From(endpoint, &IORVEndpointInfo::get_OpMode);  // the modes of the last load that succeeded
    return status;
  });
  EXPECT_EQ(ValueOf(level), 78);
  EXPECT_EQ(ValueOf(tech), 3);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "78");
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
