// The endpoint object: names, current mode, configuration type, free-form properties.
#include "api_fixture.h"

namespace orv {
namespace {

// A foreign implementation of a mode. It answers only its own interface, or, being careless,
// every interface with itself.
class ForeignMode final : public IORVOperatingMode {
 public:
  explicit ForeignMode(bool careless) : careless_(careless) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    const bool known = careless_ || iid == IID_IUnknown || iid == IID_IORVOperatingMode;
    *object = known ? this : nullptr;
    if (known) AddRef();
    return known ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  HRESULT STDMETHODCALLTYPE get_ORVAPOControlEnumerator(ORVAPOControlType,
                                                        IORVAPOControlEnumerator**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_Name(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RestoreDefaults() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_APOEnable(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_APOEnable(LONG) override { return E_NOTIMPL; }

  ULONG references = 1;

 private:
  bool careless_;
};

class EndpointTest : public ApiTest {
 protected:
  static std::wstring CurrentMode(const ComPtr<IORVEndpointInfo5>& endpoint) {
    ComPtr<IORVOperatingMode> mode;
    const HRESULT status = endpoint->get_OpMode(mode.Put());
    if (status == orv_apo::kNotFound) return L"(not found)";
    EXPECT_EQ(status, S_OK);
    return NameOf(*mode);
  }
};

TEST_F(EndpointTest, EndpointNamesItself) {
  const auto endpoint = Endpoint();
  BSTR text = nullptr;
  EXPECT_EQ(endpoint->get_FriendlyName(&text), S_OK);
  EXPECT_EQ(TakeText(text), L"Example Audio Speakers");
  EXPECT_EQ(endpoint->get_ConfigFile(&text), S_OK);
  EXPECT_EQ(TakeText(text), L"C:\\" + std::wstring(kSpeakers) + L".xml");
  ULONG flow = 7;
  EXPECT_EQ(endpoint->get_EndpointProp(kKELAPO_EPProp_Type, &flow), S_OK);
  EXPECT_EQ(flow, 0U);
  EXPECT_EQ(endpoint->get_EndpointProp(kKELAPO_EPProp_Count, &flow), E_INVALIDARG);
}

TEST_F(EndpointTest, MissingOutParametersAreRefused) {
  const auto endpoint = Endpoint();
  const DiagnosticLog log;
  EXPECT_THAT((Answers{endpoint->get_FriendlyName(nullptr), endpoint->get_ConfigFile(nullptr),
                       endpoint->get_RegistryPath(nullptr), endpoint->GetOpModeEnumerator(nullptr),
                       endpoint->get_OpMode(nullptr), endpoint->GetConfig(nullptr),
                       endpoint->GetQCDSPInterface(nullptr), endpoint->GetIntelInterface(nullptr),
                       endpoint->get_AnalysisData(nullptr), endpoint->get_HeadsetConnected(nullptr),
                       endpoint->get_EndpointProp(kKELAPO_EPProp_Count, nullptr),
                       endpoint->get_config_enum(nullptr), endpoint->put_OpMode(nullptr)}),
              Each(E_POINTER));
  EXPECT_TRUE(
      log.Contains(L"| CORVCOMEndpointInfo::get_config_enum | "
                   L"CORVCOMEndpointInfo::get_config_enum called with NULL pointer."));
  EXPECT_TRUE(
      log.Contains(L"| CORVCOMEndpointInfo::put_OpMode | "
                   L"CORVCOMEndpointInfo::put_OpMode called with NULL mode\n"));
}

TEST_F(EndpointTest, ModesComeInConfigurationOrder) {
  const auto endpoint = Endpoint();
  const auto modes = From(endpoint, &IORVEndpointInfo::GetOpModeEnumerator);
  auto mode = From(modes, &IORVAPOOpModeEnumerator::Next);
  EXPECT_EQ(NameOf(*mode), kMovie);
  EXPECT_EQ(modes->Next(nullptr), E_POINTER);  // still moves on
  EXPECT_EQ(modes->Next(mode.Put()), S_FALSE);
}

TEST_F(EndpointTest, CurrentModeIsSwitchedAndReset) {
  const auto endpoint = Endpoint();
  EXPECT_EQ(CurrentMode(endpoint), kMusic);  // nothing stored: the configuration's default
  const DiagnosticLog log;
  EXPECT_EQ(endpoint->put_OpMode(Mode(endpoint, kMovie).get()), S_OK);
  EXPECT_TRUE(
      log.Contains(L"| CORVCOMEndpointInfo::put_OpMode | Changing operating mode to "
                   L"[ApoOpMode:Movie/Internal]\n"));
  EXPECT_EQ(CurrentMode(endpoint), kMovie);
  EXPECT_EQ(CurrentMode(Endpoint()), kMovie);
  EXPECT_EQ(Endpoint()->SetDefault(), S_OK);
  EXPECT_EQ(CurrentMode(endpoint), kMusic);  // changed through another object
}

TEST_F(EndpointTest, StoredModeThatTheConfigurationLacksIsNotFound) {
  machine_.SetImage(ApoKey(kSpeakers), L"OrvApoCurrOpMode",
                    {{L"ZAPO3-Operating Mode", std::string("Game")},
                     {L"ZAPO3-Speaker Type", std::string("Internal")}});
  auto* mode = Poison<IORVOperatingMode>();
  EXPECT_EQ(Endpoint()->get_OpMode(&mode), orv_apo::kNotFound);
  EXPECT_EQ(mode, Poison<IORVOperatingMode>());
}

TEST_F(EndpointTest, ForeignModeAndOneThatCannotBeStoredAreRefused) {
  const auto endpoint = Endpoint();
  for (const bool careless : {false, true}) {
    ForeignMode foreign(careless);
    EXPECT_EQ(endpoint->put_OpMode(&foreign), E_FAIL);
    EXPECT_EQ(foreign.references, 1U);
  }
  machine_->faults().FailAlways("registry.set_value", kRegAccessDenied);
  EXPECT_EQ(endpoint->put_OpMode(Mode(endpoint, kMovie).get()), E_FAIL);
  EXPECT_EQ(endpoint->SetDefault(), S_OK);
  EXPECT_EQ(CurrentMode(endpoint), kMusic);
}

TEST_F(EndpointTest, ConfigurationTypeChoosesTheModes) {
  const auto endpoint = Endpoint();
  const auto before = Mode(endpoint, kMovie);
  const auto walking = From(endpoint, &IORVEndpointInfo::GetOpModeEnumerator);
  EXPECT_EQ(endpoint->SetConfig(kORVAPO_EPCfg_Count), E_INVALIDARG);
  auto config = static_cast<ORVAPOEndpointConfig>(9);
  EXPECT_EQ(endpoint->GetConfig(&config), S_OK);
  EXPECT_EQ(config, kORVAPO_EPCfg_None);

  EXPECT_EQ(endpoint->SetConfig(kORVAPO_EPCfg_DSP), S_OK);
  EXPECT_EQ(endpoint->GetConfig(&config), S_OK);
  EXPECT_EQ(config, kORVAPO_EPCfg_DSP);
  EXPECT_EQ(NameOf(*Mode(endpoint, L"ApoOpMode:Firmware/Internal")),
            L"ApoOpMode:Firmware/Internal");
  EXPECT_EQ(CurrentMode(endpoint), L"(not found)");

  // What was handed out before goes on as it was.
  EXPECT_EQ(NameOf(*before), kMovie);
  EXPECT_EQ(ValueOf(Control(before, L"VQ3D-DPHD Level")), 40);
  EXPECT_EQ(NameOf(*From(walking, &IORVAPOOpModeEnumerator::Next)), kMovie);
}

TEST_F(EndpointTest, FailedReloadKeepsTheCurrentAndTheDefaultMode) {
  const auto mode = [](const std::string& name, const std::string& attributes = "") {
    return "<operating_mode " + attributes + "><control name='ZAPO3-Operating Mode'>" + name +
           "</control><control name='ZAPO3-Speaker Type'>Internal</control></operating_mode>";
  };
  AddEndpoint(kHeadphones, "<orv_configuration><properties>x</properties>" + mode("Music") +
                               mode("Movie") + mode("Movie", "selector='dsp'") +
                               "<operating_mode selector='dsp'/></orv_configuration>");
  const auto endpoint = Endpoint(kHeadphones);
  EXPECT_EQ(endpoint->put_OpMode(Mode(endpoint, kMovie).get()), S_OK);
  EXPECT_EQ(machine_.CreateKey(ApoKey(kHeadphones))->DeleteValue(L"OrvApoCurrOpMode"), kRegOk);
  EXPECT_EQ(endpoint->SetConfig(kORVAPO_EPCfg_DSP), E_FAIL);
  auto config = kORVAPO_EPCfg_None;
  EXPECT_EQ(endpoint->GetConfig(&config), S_OK);
  EXPECT_EQ(config, kORVAPO_EPCfg_DSP);
  EXPECT_EQ(CurrentMode(endpoint), kMovie);
  EXPECT_EQ(endpoint->SetDefault(), S_OK);
  EXPECT_EQ(CurrentMode(endpoint), L"(not found)");  // what could be read has no such mode
  EXPECT_EQ(endpoint->SetConfig(kORVAPO_EPCfg_None), S_OK);
  EXPECT_EQ(CurrentMode(endpoint), kMusic);
}

TEST_F(EndpointTest, RegistryKeyIsMadeWhenTheEndpointIsOpened) {
  const auto endpoints = Endpoints();
  ASSERT_EQ(machine_->registry().DeleteTree(RegRoot::LocalMachine, ApoKey(kSpeakers)), kRegOk);
  const DiagnosticLog log;
  From(endpoints, &IORVEndpointEnumerator::Next);
  EXPECT_TRUE(machine_.HasKey(ApoKey(kSpeakers)));
  EXPECT_TRUE(
      log.Contains(L"| CORVCOMEndpointInfo::SetInfo | CORVCOMEndpointInfo::SetInfo reg key "
                   L"creation: 0x0, 1\n"));

  endpoints->Reset();
  machine_->faults().FailAlways("registry.create_key", kRegAccessDenied);
  From(endpoints, &IORVEndpointEnumerator::Next);
  EXPECT_TRUE(log.Contains(L"reg key creation: 0x5, 0\n"));
}

class ConfigTest : public ApiTest {
 protected:
  static ComPtr<IORVAPOConfigEnumerator> Properties(const ComPtr<IORVEndpointInfo5>& endpoint) {
    return From(endpoint, &IORVEndpointInfo5::get_config_enum);
  }
  static std::pair<std::wstring, std::wstring> Texts(IORVAPOConfigProperty& property) {
    BSTR key = nullptr;
    BSTR value = nullptr;
    EXPECT_EQ(property.get_Key(&key), S_OK);
    EXPECT_EQ(property.get_Value(&value), S_OK);
    return {TakeText(key), TakeText(value)};
  }
};

TEST_F(ConfigTest, PropertiesComeInKeyOrderAndAreFoundByKeyWhateverTheLetterCase) {
  const auto properties = Properties(Endpoint());
  ComPtr<IORVAPOConfigProperty> property;
  EXPECT_EQ(properties->get_ConfigProperty(Bstr(L"product"), property.Put()), E_INVALIDARG);
  ASSERT_EQ(properties->get_ConfigProperty(Bstr(L"product name"), property.Put()), S_OK);
  EXPECT_EQ(Texts(*property),
            std::pair(std::wstring(L"Product Name"), std::wstring(L"Example Audio")));
  EXPECT_THAT((Answers{property->get_Key(nullptr), property->get_Value(nullptr),
                       properties->get_ConfigProperty(nullptr, property.Put()),
                       properties->get_ConfigProperty(Bstr(L"product name"), nullptr),
                       properties->Next(nullptr)}),
              Each(E_POINTER));
  std::vector<std::wstring> keys;
  while (properties->Next(property.Put()) == S_OK) keys.push_back(Texts(*property).first);
  EXPECT_EQ(keys, (std::vector<std::wstring>{L"Product Name", L"ZAPO3-Operating Mode",
                                             L"ZAPO3-Speaker Type"}));
  EXPECT_EQ(properties->Next(property.Put()), S_FALSE);
}

TEST_F(ConfigTest, PropertiesOutliveTheirEndpointAndItsReload) {
  auto endpoint = Endpoint();
  auto properties = Properties(endpoint);
  EXPECT_EQ(endpoint->SetConfig(kORVAPO_EPCfg_DSP), S_OK);
  endpoint.Reset();
  ComPtr<IORVAPOConfigProperty> property;
  ASSERT_EQ(properties->Next(property.Put()), S_OK);
  properties.Reset();
  EXPECT_EQ(Texts(*property).second, L"Example Audio");
}

TEST_F(ConfigTest, ObjectsWithoutAnEndpointFailCleanly) {
  const auto properties = Create<IORVAPOConfigEnumerator>(CLSID_ORVAPOConfigEnumerator);
  const auto lone = Create<IORVAPOConfigProperty>(CLSID_ORVAPOConfigProperty);
  auto* property = Poison<IORVAPOConfigProperty>();
  BSTR text = Poison<wchar_t>();
  EXPECT_THAT(
      (Answers{properties->Next(&property), properties->get_ConfigProperty(Bstr(L"x"), &property),
               lone->get_Key(&text), lone->get_Value(&text)}),
      Each(E_UNEXPECTED));
  EXPECT_EQ(property, Poison<IORVAPOConfigProperty>());
  EXPECT_EQ(text, Poison<wchar_t>());
}

}  // namespace
}  // namespace orv
