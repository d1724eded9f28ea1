#include "endpoints/endpoint_info.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "platform/guid_text.h"
#include "support/endpoint_fixture.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr wchar_t kTechnologyPath[] = L"C:\\Windows\\System32\\kxtech64.dll";
constexpr wchar_t kDefaultConfigFile[] = L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml";
constexpr wchar_t kEffect[] = L"{ab12cd34-0000-4111-8222-9333a444b555}";
constexpr wchar_t kUpperEffect[] = L"{AB12CD34-0000-4111-8222-9333A444B555}";

SimulatedProperty TextProperty(DWORD pid, const wchar_t* text) {
  SimulatedProperty property;
  property.key.pid = pid;
  property.type = VT_LPWSTR;
  property.text = text;
  return property;
}

// The texts that a record holds, in the order of its members.
std::vector<std::wstring> Texts(const ORVAPOEndpointInfo& info) {
  return {info.display_name(),       info.device_name(),      info.description(),
          info.apo_key_path(),       info.data_folder(),      info.config_file(),
          info.setting3(),           info.setting4(),         info.premix_effect().text,
          info.stream_effect().text, info.mode_effect().text, info.endpoint_effect().text};
}

TEST(EndpointLoad, TakesEveryValueFromTheEndpointsKeys) {
  EndpointMachine machine;
  machine.AddSpeakers(L"{5d6f1b2a-93c4-4e1d-8a7b-0c1d2e3f4a5b}");
  const std::wstring properties = PropertiesKey(kSpeakers);
  machine.SetText(properties, kApoKeyPathValue, L"Software\\Vendor\\Fx");
  machine.SetText(properties, kDataFolderValue, L"D:\\Data");
  machine.SetText(properties, kConfigFileValue, L"D:\\Data\\config.xml");
  machine.SetText(properties, kSetting3Value, L"three");
  machine.SetValue(properties, kSetting4Value, kRegDword, {4, 0, 0, 0});
  const std::wstring effects = EffectsKey(kSpeakers);
  machine.SetText(effects, kSystemEffectsValue, L"0");
  machine.SetText(effects, kPremixEffectValue, kEffect);
  machine.SetText(effects, kModeEffectValue, L"no class");
  machine.SetText(effects, kEndpointEffectValue, kEffect);

  const ORVAPOEndpointInfo info = machine.Record(L"{5d6f1b2a-93c4-4e1d-8a7b-0c1d2e3f4a5b}");
  EXPECT_EQ(info.guid_text(), kSpeakers);
  EXPECT_EQ(GuidText(info.guid()), kSpeakers);
  EXPECT_EQ(info.endpoint_id(), L"{0.0.0.00000000}.{5d6f1b2a-93c4-4e1d-8a7b-0c1d2e3f4a5b}");
  EXPECT_EQ(Texts(info), (std::vector<std::wstring>{L"Example Audio Speakers", L"Example Audio",
                                                    L"Speakers", L"Software\\Vendor\\Fx",
                                                    L"D:\\Data", L"D:\\Data\\config.xml", L"three",
                                                    L"4", kUpperEffect, L"", L"", kUpperEffect}));
  EXPECT_FALSE(info.system_effects_disabled());
  EXPECT_EQ(GuidText(info.premix_effect().guid), kUpperEffect);
  EXPECT_EQ(info.mode_effect().guid, GUID_NULL);
  EXPECT_EQ(machine.Text(L"Software\\Vendor\\Fx", kTechnologyPathValue), kTechnologyPath);
}

TEST(EndpointLoad, FillsMissingSettingsWithDefaultsAndCreatesTheProcessingKey) {
  EndpointMachine machine;
  machine.AddSpeakers();
  machine.SetText(PropertiesKey(kSpeakers), kApoKeyPathValue, L"");
  ORVAPOEndpointInfo info = machine.Record(kSpeakers);
  EXPECT_EQ(info.apo_key_path(), ApoKey(kSpeakers));
  EXPECT_EQ(info.data_folder(), L"C:\\ProgramData\\ORV Labs\\APO");
  EXPECT_EQ(info.config_file(), kDefaultConfigFile);
  EXPECT_EQ(machine.Text(ApoKey(kSpeakers), kTechnologyPathValue), kTechnologyPath);

  machine->description().program_data.reset();
  machine->description().program_files = L"P:\\";
  info = machine.Record(kSpeakers);
  EXPECT_EQ(info.data_folder(), L"");
  EXPECT_EQ(info.config_file(), L"P:\\ORV Labs\\APO\\orv_apo_config.xml");

  machine->registry().DeleteTree(RegRoot::LocalMachine, PropertiesKey(kSpeakers));
  EXPECT_EQ(machine.Record(kSpeakers).display_name(), L"") << "built from that key only";
}

TEST(EndpointLoad, FillsWhatThePropertyKeyLacksFromTheFallbackKey) {
  EndpointMachine machine;
  machine.AddDevice(kSpeakers);
  const std::wstring properties = PropertiesKey(kSpeakers);
  machine.SetText(properties, kFallbackKeyPathValue, L"Software\\Fallback");
  machine.SetText(properties, kDataFolderValue, L"D:\\Own");
  machine.SetText(properties, kConfigFileValue, L"");
  machine.SetText(L"Software\\Fallback", kDataFolderValue, L"D:\\Fallback");
  machine.SetText(L"Software\\Fallback", kConfigFileValue, L"D:\\fallback.xml");
  machine.SetText(L"Software\\Fallback", kDeviceNameValue, L"Device");
  machine.SetText(L"Software\\Fallback", kPremixEffectValue, kEffect);
  const ORVAPOEndpointInfo info = machine.Record(kSpeakers);
  EXPECT_EQ(info.data_folder(), L"D:\\Own");
  EXPECT_EQ(info.config_file(), L"D:\\fallback.xml");
  EXPECT_EQ(info.device_name(), L"Device");
  EXPECT_EQ(info.display_name(), L" ");
  EXPECT_EQ(info.premix_effect().text, L"");
}

TEST(EndpointLoad, EndsWithTheResultSoFarAtAnUnreadableValue) {
  const std::vector<std::uint8_t> quad_word(8, 1);
  EndpointMachine machine;
  for (const wchar_t* guid : {kSpeakers, kHeadphones, kMicrophone}) {
    machine.AddSpeakers(guid);
    machine.SetText(PropertiesKey(guid), kFallbackKeyPathValue, L"Software\\Fallback");
  }
  machine.SetValue(PropertiesKey(kSpeakers), L"odd", kRegQword, quad_word);
  machine.SetValue(EffectsKey(kHeadphones), L"odd", kRegQword, quad_word);
  machine.SetValue(L"Software\\Fallback", L"odd", kRegQword, quad_word);
  ORVAPOEndpointInfo info(*machine);
  EXPECT_FALSE(info.Attach(machine.Device(EndpointMachine::DeviceId(kSpeakers)).get(), true));
  EXPECT_EQ(info.device_name(), L"");
  for (const wchar_t* guid : {kHeadphones, kMicrophone}) {
    EXPECT_TRUE(info.Attach(machine.Device(EndpointMachine::DeviceId(guid)).get(), true));
    EXPECT_EQ(info.display_name(), L"Example Audio Speakers");
    EXPECT_EQ(info.config_file(), L"");
    EXPECT_EQ(info.system_effects_disabled(), guid == std::wstring(kMicrophone));
    EXPECT_FALSE(machine.HasKey(ApoKey(guid)));
  }
}

TEST(EndpointLoad, SystemEffectsAreDisabledByTheSwitchOrByItsAbsence) {
  EndpointMachine machine;
  machine.AddSpeakers();
  const auto disabled = [&] { return machine.Record(kSpeakers).system_effects_disabled(); };
  EXPECT_TRUE(disabled());
  machine.SetValue(EffectsKey(kSpeakers), kSystemEffectsValue, kRegDword, {1, 0, 0, 0});
  EXPECT_TRUE(disabled());
  machine.SetText(EffectsKey(kSpeakers), kSystemEffectsValue, L"");
  EXPECT_FALSE(disabled());
  machine->registry().DeleteTree(RegRoot::LocalMachine, EffectsKey(kSpeakers));
  EXPECT_FALSE(disabled());
}

TEST(EndpointLoad, NeedsADeviceWithAnIdentifierAndKeys) {
  EndpointMachine machine;
  machine.AddDevice(kSpeakers);
  machine.AddSpeakers(kHeadphones);
  ORVAPOEndpointInfo info(*machine);
  EXPECT_FALSE(info.Attach(nullptr, false));
  EXPECT_FALSE(info.Attach(machine.Device(EndpointMachine::DeviceId(kSpeakers)).get(), true));
  const ComPtr<IMMDevice> headphones = machine.Device(EndpointMachine::DeviceId(kHeadphones));
  machine->faults().FailNth("device.get_id", 1, E_FAIL);
  EXPECT_FALSE(info.Attach(headphones.get(), true));
  EXPECT_EQ(info.guid_text() + info.endpoint_id() + info.display_name(), L"");
  EXPECT_TRUE(info.Load());
  EXPECT_EQ(info.guid_text(), kHeadphones);

  // Any of the three keys is enough.
  machine.CreateKey(EffectsKey(kSpeakers));
  EXPECT_TRUE(info.Attach(machine.Device(EndpointMachine::DeviceId(kSpeakers)).get(), true));
  machine->registry().DeleteTree(RegRoot::LocalMachine, EffectsKey(kSpeakers));

  machine.AddSpeakers(kMicrophone).id = kMicrophone;  // without dot: the guid itself
  EXPECT_TRUE(info.Attach(machine.Device(kMicrophone).get(), true));
  EXPECT_EQ(info.guid_text(), kMicrophone);
  EXPECT_FALSE(info.Attach(nullptr, true));
  EXPECT_EQ(info.guid_text(), L"") << "nothing of the last one is left";
}

TEST(EndpointLoad, LoadingAgainForgetsWhatIsGone) {
  EndpointMachine machine;
  machine.AddSpeakers();
  machine.SetText(PropertiesKey(kSpeakers), kSetting3Value, L"three");
  machine.SetText(EffectsKey(kSpeakers), kPremixEffectValue, kEffect);
  ORVAPOEndpointInfo info = machine.Record(kSpeakers);
  ASSERT_EQ(info.premix_effect().text, kUpperEffect);
  machine->registry().DeleteTree(RegRoot::LocalMachine, EffectsKey(kSpeakers));
  machine.CreateKey(PropertiesKey(kSpeakers))->DeleteValue(kSetting3Value);
  ASSERT_TRUE(info.Load());
  EXPECT_EQ(info.setting3() + info.premix_effect().text, L"");
  EXPECT_EQ(info.premix_effect().guid, GUID_NULL);
}

// A machine whose drive C: holds files.
class EndpointFiles : public ::testing::Test {
 protected:
  void Create(const char* name) {
    const std::filesystem::path data = drive_c_.path() / "ProgramData" / "ORV Labs" / "APO";
    std::filesystem::create_directories(data);
    std::ofstream(data / name) << "<apo/>";
  }
  static std::wstring Data(const wchar_t* name) {
    return std::wstring(L"C:\\ProgramData\\ORV Labs\\APO\\") + name;
  }
  void ConfigFile(const std::wstring& path) {
    machine_.SetText(PropertiesKey(kSpeakers), kConfigFileValue, path);
  }
  std::wstring Chosen() { return machine_.Record(kSpeakers).config_file(); }

  TemporaryFolder drive_c_;
  EndpointMachine machine_{{}, drive_c_.path()};
};

TEST_F(EndpointFiles, PresetsOfTheSubsystemReplaceTheDefaultConfiguration) {
  SimulatedEndpoint& speakers = machine_.AddSpeakers();
  speakers.properties = {TextProperty(1, L"plain text"),
                         TextProperty(2, L"hdaudio\\func_01&subsys_10ec12ab&rev_1000"),
                         TextProperty(3, L"SUBSYS_FFFFFFFF")};
  EXPECT_EQ(Chosen(), kDefaultConfigFile);
  Create("presets_10EC12AB.xml");
  EXPECT_EQ(Chosen(), Data(L"presets_10EC12AB.xml"));
  machine_.SetText(PropertiesKey(kSpeakers), kDataFolderValue, L"D:\\Own");
  EXPECT_EQ(Chosen(), Data(L"presets_10EC12AB.xml")) << "not from the endpoint's own data folder";
  Create("presets_10EC12AB_81.xml");
  for (const wchar_t* effect : {kModeEffectValue, kEndpointEffectValue}) {
    EXPECT_EQ(Chosen(), Data(L"presets_10EC12AB.xml"));
    machine_.SetText(EffectsKey(kSpeakers), effect, kEffect);
    EXPECT_EQ(Chosen(), Data(L"presets_10EC12AB_81.xml"));
    machine_.CreateKey(EffectsKey(kSpeakers))->DeleteValue(effect);
  }
  machine_.SetText(EffectsKey(kSpeakers), kModeEffectValue, kEffect);
  machine_->faults().FailNth("store.get_value", 1, E_FAIL);
  EXPECT_EQ(Chosen(), Data(L"presets_10EC12AB_81.xml"));
  for (const FaultOperation operation :
       FaultOperations{"device.open_store", "store.count", "store.get_at"}) {
    machine_->faults().FailAlways(operation, E_FAIL);
    EXPECT_EQ(Chosen(), kDefaultConfigFile) << operation.name();
    machine_->faults().Clear();
  }
  ConfigFile(L"C:\\program files\\ORV Labs\\APO\\orv_apo_config.xml");
  EXPECT_EQ(Chosen(), L"C:\\program files\\ORV Labs\\APO\\orv_apo_config.xml");
}

TEST_F(EndpointFiles, AMissingSharedConfigurationGivesThePlatformsOwn) {
  machine_.AddSpeakers();
  ConfigFile(Data(L"kxconfig.xml"));
  EXPECT_EQ(Chosen(), Data(L"kxconfig_WIN81.xml"));
  machine_->description().version_major = 6;
  machine_->description().version_minor = 1;
  EXPECT_EQ(Chosen(), Data(L"kxconfig_WIN7.xml"));
  // The folder that counts is the default one, not the endpoint's own.
  machine_.SetText(PropertiesKey(kSpeakers), kDataFolderValue, L"D:\\Own");
  EXPECT_EQ(Chosen(), Data(L"kxconfig_WIN7.xml"));
  Create("kxconfig.xml");
  EXPECT_EQ(Chosen(), Data(L"kxconfig.xml"));
  ConfigFile(L"D:\\Own\\kxconfig.xml");
  EXPECT_EQ(Chosen(), L"D:\\Own\\kxconfig.xml");
}

TEST_F(EndpointFiles, CaptureEndpointsKeepTheirConfiguration) {
  machine_.AddDevice(kMicrophone, eCapture).properties = {TextProperty(1, L"SUBSYS_12345678")};
  Create("presets_12345678.xml");
  machine_.SetText(PropertiesKey(kMicrophone, false), kDeviceNameValue, L"Microphone");
  ORVAPOEndpointInfo info = machine_.Record(kMicrophone, eCapture);
  EXPECT_EQ(info.config_file(), kDefaultConfigFile);
  EXPECT_EQ(info.display_name(), L"Microphone ");
  machine_.SetText(PropertiesKey(kMicrophone, false), kConfigFileValue, Data(L"kxconfig.xml"));
  ASSERT_TRUE(info.Load());
  EXPECT_EQ(info.config_file(), Data(L"kxconfig.xml"));
}

TEST_F(EndpointFiles, ACopySharesTheDeviceAndFindsItsSubsystemAnew) {
  machine_.AddSpeakers().properties = {TextProperty(1, L"SUBSYS_12")};
  ORVAPOEndpointInfo original = machine_.Record(kSpeakers);
  ASSERT_TRUE(original.Load());  // a record is handed out as a copy; now it has been read here
  const std::uint32_t stores = machine_->faults().Calls("device.open_store");
  ASSERT_TRUE(original.Load());
  EXPECT_EQ(machine_->faults().Calls("device.open_store"), stores);
  ORVAPOEndpointInfo copy = original;
  EXPECT_EQ(copy.device(), original.device());
  ASSERT_TRUE(copy.Load());
  EXPECT_EQ(machine_->faults().Calls("device.open_store"), stores + 1);
}

TEST(TechnologyPath, ReadableTextStaysAndEverythingElseIsReplaced) {
  EndpointMachine machine;
  machine.AddSpeakers();
  const std::wstring key = ApoKey(kSpeakers);
  const std::tuple<bool, std::uint32_t, std::vector<std::uint8_t>> values[] = {
      {true, kRegSz, RegistryTextBytes(L"D:\\other.dll")},
      {true, kRegExpandSz, RegistryTextBytes(L"%windir%\\other.dll")},
      {true, kRegSz, {}},
      {true, kRegSz, RegistryTextBytes(std::wstring(260, L'x'))},
      {false, kRegSz, RegistryTextBytes(std::wstring(261, L'x'))},
      {false, kRegSz, {'x', 0, 0}},
      {false, kRegDword, {0, 0, 0, 0}}};
  for (const auto& [stays, type, bytes] : values) {
    machine.SetValue(key, kTechnologyPathValue, type, bytes);
    machine.Record(kSpeakers);
    EXPECT_EQ(machine.Text(key, kTechnologyPathValue) == kTechnologyPath, !stays) << bytes.size();
    EXPECT_EQ(machine.Value(key, kTechnologyPathValue, type) == bytes, stays) << bytes.size();
  }
}

TEST(TechnologyPath, IsNotWrittenWithoutAUsableSystemDirectoryOrKey) {
  EndpointMachine machine;
  machine.AddSpeakers();
  machine->description().system_directory = L"C:\\" + std::wstring(258, L'x');
  machine.Record(kSpeakers);
  EXPECT_EQ(machine.Text(ApoKey(kSpeakers), kTechnologyPathValue), std::nullopt);
  machine->description().system_directory.reset();
  machine.Record(kSpeakers);
  EXPECT_EQ(machine.Text(ApoKey(kSpeakers), kTechnologyPathValue), std::nullopt);
  machine->description().system_directory = L"C:\\" + std::wstring(257, L'x');
  machine->description().is_32bit_process = true;
  machine.Record(kSpeakers);
  EXPECT_EQ(machine.Text(ApoKey(kSpeakers), kTechnologyPathValue),
            L"C:\\" + std::wstring(257, L'x') + L"\\kxtech32.dll");
  ORVAPOEndpointInfo info = machine.Record(kSpeakers);
  machine->faults().FailAlways("registry.create_key", kRegAccessDenied);
  EXPECT_TRUE(info.Load());
}

constexpr wchar_t kMonitor[] = L"{2B3C4D5E-6F70-4812-93A4-B5C6D7E8F901}";

class EndpointEnumeration : public ::testing::Test {
 protected:
  // Gives the guid texts of what was found.
  std::vector<std::wstring> Enumerate() {
    const bool found = ORVAPOEndpointTools(*machine_).EnumerateEndpoints(endpoints_);
    EXPECT_EQ(found, !endpoints_.empty());
    std::vector<std::wstring> texts;
    for (const ORVAPOEndpointInfo& endpoint : endpoints_) texts.push_back(endpoint.guid_text());
    return texts;
  }

  EndpointMachine machine_;
  std::vector<ORVAPOEndpointInfo> endpoints_;
};

TEST_F(EndpointEnumeration, ListsActiveRenderEndpointsThatLoadInThePlatformsOrder) {
  machine_.AddSpeakers(kHeadphones);
  machine_.AddSpeakers(kMonitor).state = DEVICE_STATE_UNPLUGGED;
  machine_.AddDevice(L"{99999999-6F70-4812-93A4-B5C6D7E8F901}");  // without keys
  machine_.AddDevice(kMicrophone, eCapture);
  machine_.SetText(PropertiesKey(kMicrophone, false), kDeviceNameValue, L"Microphone");
  machine_.AddSpeakers(kSpeakers);
  EXPECT_THAT(Enumerate(), ElementsAre(kHeadphones, kSpeakers));
  EXPECT_FALSE(machine_.HasKey(ApoKey(kMonitor)));
  machine_->description().endpoints.clear();
  EXPECT_THAT(Enumerate(), IsEmpty());
}

TEST_F(EndpointEnumeration, AFailingDeviceCallCostsTheEndpointsItConcerns) {
  for (const wchar_t* guid : {kSpeakers, kHeadphones, kMonitor}) machine_.AddSpeakers(guid);
  for (const FaultOperation operation :
       FaultOperations{"devices.create_enumerator", "devices.enumerate", "devices.count"}) {
    machine_->faults().FailNth(operation, 1, E_FAIL);
    endpoints_.emplace_back(*machine_);
    EXPECT_THAT(Enumerate(), IsEmpty()) << operation.name();
  }
  for (const FaultOperation operation :
       FaultOperations{"devices.item", "device.get_state", "device.get_id"}) {
    machine_->faults().Clear();
    machine_->faults().FailNth(operation, 2, E_FAIL);
    EXPECT_THAT(Enumerate(), ElementsAre(kSpeakers, kMonitor)) << operation.name();
  }
}

}  // namespace
}  // namespace orv
