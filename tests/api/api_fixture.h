// A client at work: a machine in memory with a configuration file on drive C:, and the component's
// objects as its exports hand them out.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/core/noncopyable.hpp>
#include <fstream>
#include <string>

#include "api/component.h"
#include "orv_apo/orv_apo.h"
#include "platform/host_path.h"
#include "platform/text.h"
#include "support/diagnostic_log.h"
#include "support/endpoint_fixture.h"
#include "support/temporary_folder.h"

namespace orv {

// What poisoned out-parameters hold before a call.
template <class Interface>
Interface* Poison() {
  return reinterpret_cast<Interface*>(0xBAD0BAD0);
}
inline constexpr LONG kPoisonedNumber = -0x0BADF00D;

// What several calls answered, to be looked at together.
using Answers = std::vector<HRESULT>;
using ::testing::Each;

inline constexpr char kTwoModes[] = R"(<orv_configuration>
  <properties>
    <control name="Product Name">Example Audio</control>
    <control name="ZAPO3-Operating Mode">Music</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
  </properties>
  <operating_mode>
    <control name="ZAPO3-Operating Mode">Movie</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
    <control name="VQ3D-Main Tech" public="true">VQ3D-AMHD</control>
    <control name="VQ3D-DPHD Level" public="true">40</control>
    <control name="Left:VQ3D-Headroom Gain" public="true">-60</control>
    <control name="Undescribed" public="true">7</control>
    <control name="VQ3D-Bypass Gain">-30</control>
    <control name="VQ3D-GEQ Enable">Enabled</control>
  </operating_mode>
  <operating_mode>
    <control name="ZAPO3-Operating Mode">Music</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
  </operating_mode>
  <operating_mode selector="dsp">
    <control name="ZAPO3-Operating Mode">Firmware</control>
    <control name="ZAPO3-Speaker Type">Internal</control>
  </operating_mode>
</orv_configuration>)";

inline constexpr wchar_t kMovie[] = L"ApoOpMode:Movie/Internal";
inline constexpr wchar_t kMusic[] = L"ApoOpMode:Music/Internal";

// Takes the text and frees it.
inline std::wstring TakeText(BSTR text) {
  const std::wstring result = text != nullptr ? std::wstring(text, SysStringLen(text)) : L"(null)";
  SysFreeString(text);
  return result;
}

// An in-parameter.
class Bstr : boost::noncopyable {
 public:
  explicit Bstr(const std::wstring& text) : text_(SysAllocString(text.c_str())) {}
  ~Bstr() { SysFreeString(text_); }
  operator BSTR() const { return text_; }

 private:
  BSTR text_;
};

// What an operation hands out.
template <class Object, class Base, class Interface>
ComPtr<Interface> From(const Object& object,
                       HRESULT (STDMETHODCALLTYPE Base::*operation)(Interface**)) {
  ComPtr<Interface> result;
  EXPECT_EQ(((*object).*operation)(result.Put()), S_OK);
  return result;
}

template <class Interface>
std::wstring NameOf(Interface& mode) {
  BSTR name = nullptr;
  EXPECT_EQ(mode.get_Name(&name), S_OK);
  return TakeText(name);
}

inline LONG ValueOf(const ComPtr<IORVAPOControl>& control) {
  LONG value = kPoisonedNumber;
  EXPECT_EQ(control->get_Value(&value), S_OK);
  return value;
}

class ApiTest : public ::testing::Test {
 protected:
  ApiTest() {
    ComponentModule().SetMachine({std::shared_ptr<void>(), &*machine_});
    AddEndpoint(kSpeakers, kTwoModes);
  }
  ~ApiTest() override {
    EXPECT_EQ(ComponentModule().lock_count(), 0U);
    ComponentModule().SetMachine(nullptr);
    ComponentModule().SetPerUser(false);
  }

  // An active render endpoint with a configuration file of its own.
  SimulatedEndpoint& AddEndpoint(const std::wstring& guid, const std::string& configuration) {
    const std::wstring path = L"C:\\" + guid + L".xml";
    std::ofstream(drive_c_.path() / (Utf8FromWide(guid) + ".xml")) << configuration;
    machine_.SetText(PropertiesKey(guid), kConfigFileValue, path);
    return machine_.AddSpeakers(guid);
  }

  template <class Interface>
  static ComPtr<Interface> Create(const CLSID& class_id) {
    ComPtr<IClassFactory> factory;
    ComPtr<Interface> object;
    EXPECT_EQ(DllGetClassObject(class_id, IID_IClassFactory, factory.PutVoid()), S_OK);
    if (factory) {
      EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(Interface), object.PutVoid()), S_OK);
    }
    return object;
  }

  // The folder of the technology library that the build made.
  static std::wstring TechnologyFolder() { return DriveZPath(ORV_TECHNOLOGY_FOLDER "/"); }
  static ComPtr<IORVAPOSystem> System() {
    auto system = Create<IORVAPOSystem>(CLSID_ORVAPOSystem);
    EXPECT_EQ(system->InitializeSystem(Bstr(TechnologyFolder())), S_OK);
    return system;
  }
  static ComPtr<IORVEndpointEnumerator> Endpoints() {
    return From(System(), &IORVAPOSystem::EnumerateORVEndpoints);
  }
  static ComPtr<IORVEndpointInfo5> Endpoint(const std::wstring& guid = kSpeakers) {
    ComPtr<IORVEndpointInfo> endpoint;
    EXPECT_EQ(
        Endpoints()->GetEndpointFromDevice(Bstr(EndpointMachine::DeviceId(guid)), endpoint.Put()),
        S_OK);
    return endpoint.As<IORVEndpointInfo5>();
  }
  static ComPtr<IORVOperatingMode> Mode(const ComPtr<IORVEndpointInfo5>& endpoint,
                                        const std::wstring& name = kMovie) {
    const auto modes = From(endpoint, &IORVEndpointInfo::GetOpModeEnumerator);
    ComPtr<IORVOperatingMode> mode;
    while (modes->Next(mode.Put()) == S_OK) {
      if (NameOf(*mode) == name) return mode;
    }
    ADD_FAILURE() << "no such mode";
    return {};
  }
  static ComPtr<IORVAPOControlEnumerator2> Controls(const ComPtr<IORVOperatingMode>& mode,
                                                    ORVAPOControlType type = kORVAPO_Cont_Public) {
    ComPtr<IORVAPOControlEnumerator> controls;
    EXPECT_EQ(mode->get_ORVAPOControlEnumerator(type, controls.Put()), S_OK);
    return controls.As<IORVAPOControlEnumerator2>();
  }
  static ComPtr<IORVAPOControl> Control(const ComPtr<IORVOperatingMode>& mode,
                                        const std::wstring& name,
                                        ORVAPOControlType type = kORVAPO_Cont_Public) {
    ComPtr<IORVAPOControl> control;
    EXPECT_EQ(Controls(mode, type)->GetControlFromName(Bstr(name), control.Put()), S_OK);
    return control;
  }

  // The text of one property in a stored image; "(none)" when it is not there.
  std::string Stored(const std::wstring& value_name, const std::wstring& property) {
    for (const ORVPropertyEntry& entry : machine_.Image(ApoKey(kSpeakers), value_name)) {
      if (entry.name == property) return NarrowTextOf(entry.value).value_or("(no text)");
    }
    return "(none)";
  }

  TemporaryFolder drive_c_;
  EndpointMachine machine_{{}, drive_c_.path()};
};

}  // namespace orv
