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
  ExpectLines(log, {L"| CORVCOMEndpointInfo::get_config_enum | "
                    L"CORVCOMEndpointInfo::get_config_enum called with NULL pointer.",
                    L"| CORVCOMEndpointInfo::put_OpMode | "
                    L"CORVCOMEndpointInfo::put_OpMode called with NULL mode\n"});
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
  ExpectLines(log, {L"| CORVCOMEndpointInfo::put_OpMode | Changing operating mode to "
                    L"[ApoOpMode:Movie/Internal]\n"});
  EXPECT_EQ(CurrentMode(endpoint), kMovie);
  EXPECT_EQ(CurrentMode(Endpoint()), kMovie);
  EXPECT_EQ(Endpoint()->SetDefault(), S_OK);
  EXPECT_EQ(CurrentMode(endpoint), kMusic);  // changed through another object
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
  ExpectLines(log, {L"| CORVCOMEndpointInfo::SetInfo | CORVCOMEndpointInfo::SetInfo reg key "
                    L"creation: 0x0, 1\n"});

  endpoints->Reset();
  machine_->faults().FailAlways("registry.create_key", kRegAccessDenied);
  From(endpoints, &IORVEndpointEnumerator::Next);
  ExpectLines(log, {L"reg key creation: 0x5, 0\n"});
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

using Bytes = std::vector<std::uint8_t>;

class HeadsetTest : public ApiTest {
 protected:
  using Answer = std::pair<HRESULT, LONG>;  // and whether a headset is connected
  static constexpr Answer kPluggedIn{S_OK, 1};
  static constexpr Answer kAbsent{S_OK, 0};
  static constexpr Answer kUnknown{S_FALSE, 0};

  void SetHardware(std::wstring_view identifier) {
    machine_.SetText(PropertiesKey(kSpeakers), kHardwareIdentifierValue, identifier);
  }
  void SetConexantRecord(std::uint8_t kind, std::uint8_t eighth, std::uint8_t ninth) {
    machine_.SetValue(PropertiesKey(kSpeakers), kHeadsetBlockValue, kRegBinary,
                      {kind, 0, 0, 0, 0, 0, 0, 0, eighth, ninth});
  }
  void SetNumber(const std::wstring& key, const wchar_t* name, std::uint8_t number) {
    machine_.SetValue(key, name, kRegDword, {number, 0, 0, 0});
  }
  static Answer Ask(const ComPtr<IORVEndpointInfo5>& endpoint) {
    Answer answer{E_UNEXPECTED, kPoisonedNumber};
    answer.first = endpoint->get_HeadsetConnected(&answer.second);
    return answer;
  }
  Answer Ask() { return Ask(Endpoint()); }
};

TEST_F(HeadsetTest, ConexantRecordDecides) {
  SetHardware(L"HDAUDIO\\FUNC_01&ven_14f1&dev_50f4");
  EXPECT_EQ(Ask(), kUnknown);
  const std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, Answer> records[] = {
      {11, 255, 255, kAbsent}, {11, 254, 255, kPluggedIn}, {11, 255, 254, kPluggedIn}};
  for (const auto& [kind, eighth, ninth, answer] : records) {
    SetConexantRecord(kind, eighth, ninth);
    EXPECT_EQ(Ask(), answer) << +eighth << ' ' << +ninth;
  }
  SetConexantRecord(10, 255, 254);
  DiagnosticLog log;
  EXPECT_EQ(Ask(), kUnknown);
  ExpectLines(log, {L"IsConexantConnected | Got headset info buffer\n",
                    L"IsConexantConnected returning 0, headset: 0\n",
                    L"Read VID buffer: HDAUDIO\\FUNC_01&ven_14f1&dev_50f4\n"});

  SetNumber(PropertiesKey(kSpeakers), kHeadsetBlockValue, 11);  // no record
  EXPECT_EQ(Ask(), kUnknown);
  machine_.SetValue(PropertiesKey(kSpeakers), kHeadsetBlockValue, kRegBinary, Bytes(129, 11));
  EXPECT_EQ(Ask(), kUnknown);
  ExpectLines(log, {L"Can't get headset info buffer\n"});
}

TEST_F(HeadsetTest, IdtStateDecides) {
  SetHardware(L"VEN_111D");
  EXPECT_EQ(Ask(), kUnknown);
  SetNumber(kIdtStateKey, kIdtHeadsetValue, 0);
  EXPECT_EQ(Ask(), kAbsent);
  SetNumber(kIdtStateKey, kIdtHeadsetValue, 9);
  EXPECT_EQ(Ask(), kPluggedIn);
  machine_.SetValue(kIdtStateKey, kIdtHeadsetValue, kRegBinary, {1, 0, 0, 0});
  EXPECT_EQ(Ask(), kUnknown);
}

TEST_F(HeadsetTest, EitherRealtekFlagDecides) {
  SetHardware(L"VEN_10EC");
  EXPECT_EQ(Ask(), kAbsent);
  for (const wchar_t* flag : {kRealtekSecondValue, kRealtekFirstValue}) {
    SetNumber(EffectsKey(kSpeakers), flag, 1);
    EXPECT_EQ(Ask(), kPluggedIn);
    SetNumber(EffectsKey(kSpeakers), flag, 0);
  }
}

TEST_F(HeadsetTest, HardwareIdentifierMustBeWholeText) {
  SetNumber(EffectsKey(kSpeakers), kRealtekFirstValue, 1);
  const Bytes text = RegistryTextBytes(L"VEN_10EC");
  const std::tuple<std::uint32_t, Bytes, Answer> identifiers[] = {
      {kRegExpandSz, text, kPluggedIn},
      {kRegBinary, text, kUnknown},
      {kRegSz, Bytes(text.begin(), text.end() - 2), kUnknown},
      {kRegSz, Bytes(text.begin(), text.end() - 1), kUnknown},
      {kRegSz, {}, kUnknown},
      {kRegSz, RegistryTextBytes(L"VEN_10EC" + std::wstring(247, L'x')), kPluggedIn},
      {kRegSz, RegistryTextBytes(L"VEN_10EC" + std::wstring(248, L'x')), kUnknown}};
  for (const auto& [type, bytes, answer] : identifiers) {
    // The endpoint is there before its identifier changes: a broken value keeps it from loading.
    SetHardware(L"");
    const auto endpoint = Endpoint();
    machine_.SetValue(PropertiesKey(kSpeakers), kHardwareIdentifierValue, type, bytes);
    EXPECT_EQ(Ask(endpoint), answer) << type << ' ' << bytes.size();
  }
}

TEST_F(HeadsetTest, VendorIsFoundOutOnce) {
  SetHardware(L"VEN_8086");
  const auto endpoint = Endpoint();
  const DiagnosticLog log;
  EXPECT_EQ(Ask(endpoint), kUnknown);
  EXPECT_EQ(log.Count(L"Read VID buffer"), 3U);
  SetHardware(L"VEN_10EC");
  EXPECT_EQ(Ask(endpoint), kUnknown);
  EXPECT_EQ(log.Count(L"Read VID buffer"), 3U);
}

TEST_F(HeadsetTest, ClosedPropertiesKeyIsTriedAgainExceptForRealtek) {
  SetHardware(L"VEN_14F1 VEN_10EC");
  SetConexantRecord(11, 0, 0);
  const auto endpoint = Endpoint();
  machine_->faults().FailAlways("registry.open_key", kRegAccessDenied);
  EXPECT_EQ(Ask(endpoint), kUnknown);
  machine_->faults().Clear();
  EXPECT_EQ(Ask(endpoint), kPluggedIn);
  SetConexantRecord(10, 0, 0);
  EXPECT_EQ(Ask(endpoint), kUnknown);
  EXPECT_EQ(Ask(), kAbsent);
}

}  // namespace
}  // namespace orv
