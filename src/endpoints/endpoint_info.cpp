#include "endpoints/endpoint_info.h"

#include <memory>
#include <optional>
#include <utility>

#include "config/technology_library.h"
#include "endpoints/endpoint_registry.h"
#include "platform/com_memory.h"
#include "platform/guid_text.h"
#include "platform/text.h"
#include "properties/property_set_registry.h"

namespace orv {
namespace {

// Room, in characters, for a path with its terminator.
constexpr std::size_t kPathCapacity = 261;

constexpr wchar_t kSubsystemMark[] = L"SUBSYS_";
constexpr std::size_t kSubsystemLength = 8;

// Returns nullopt if the text does not name a subsystem.
std::optional<std::wstring> SubsystemIn(const std::wstring& text) {
  const std::wstring upper = ToUpperAscii(text);
  const std::size_t mark = upper.find(kSubsystemMark);
  if (mark == std::wstring::npos) return std::nullopt;
  return upper.substr(mark + std::size(kSubsystemMark) - 1, kSubsystemLength);
}

// Subsystem named by the first property of the device that names one.
std::wstring DeviceSubsystem(IMMDevice& device) {
  ComPtr<IPropertyStore> store;
  if (FAILED(device.OpenPropertyStore(STGM_READ, store.Put())) || !store) return {};
  DWORD count = 0;
  if (FAILED(store->GetCount(&count))) return {};
  for (DWORD index = 0; index < count; ++index) {
    PROPERTYKEY key{};
    UniquePropVariant value;
    if (FAILED(store->GetAt(index, &key)) || FAILED(store->GetValue(key, &value))) continue;
    if (value.vt != VT_LPWSTR || value.pwszVal == nullptr) continue;
    if (auto subsystem = SubsystemIn(value.pwszVal)) return *std::move(subsystem);
  }
  return {};
}

void CompleteEffect(EffectIdentifier& effect) {
  const std::optional<GUID> guid = ParseGuid(effect.text);
  effect.guid = guid.value_or(GUID_NULL);
  effect.text = guid ? ToUpperAscii(effect.text) : std::wstring();
}

// True when the key names a technology library in text that readers accept, be it empty.
bool NamesTechnologyLibrary(RegistryKey& key) {
  std::uint8_t buffer[kPathCapacity * 2];  // stored as 16-bit units
  std::uint32_t size = sizeof buffer;
  std::uint32_t type = kRegNone;
  if (key.QueryValue(kTechnologyPathValue, &type, buffer, &size) != kRegOk) return false;
  return (type == kRegSz || type == kRegExpandSz) && RegistryText(buffer, size).has_value();
}

// The device at a position, if it is there and active.
ComPtr<IMMDevice> ActiveDevice(IMMDeviceCollection& devices, UINT index) {
  ComPtr<IMMDevice> device;
  if (FAILED(devices.Item(index, device.Put())) || !device) return nullptr;
  DWORD state = 0;
  if (FAILED(device->GetState(&state)) || state != DEVICE_STATE_ACTIVE) return nullptr;
  return device;
}

}  // namespace

// Fills one endpoint record: the platform's two keys of the endpoint, the fallback key, defaults,
// the choice of the configuration file, and the processing object's key.
class EndpointLoader {
 public:
  explicit EndpointLoader(ORVAPOEndpointInfo& info) : info_(info), machine_(*info.machine_) {}
  bool Run();

 private:
  // One registry value, where its text goes, and its replacement.
  struct Descriptor {
    const wchar_t* value_name;
    std::wstring* destination;
    std::wstring default_text = {};
  };

  void ForgetEarlierLoad();
  void TakeIdentity();
  void Describe();
  // Calls `use` with the values of a key; a complete reading makes the load a success. Does nothing
  // if there is no such key. Returns false if the load ends here, with the result so far.
  template <class Use>
  bool ReadKey(const std::wstring& path, Use use);
  bool ReadPropertyKey();
  bool ReadEffectKey();
  bool ReadFallbackKey();
  void ChoosePresetsFile();
  void ChooseFallbackConfigFile();
  void RegisterTechnologyLibrary();

  std::wstring InKnownFolder(REFGUID folder, const wchar_t* rest);
  std::wstring PresetsFile();

  ORVAPOEndpointInfo& info_;
  Machine& machine_;
  std::wstring default_data_folder_;
  std::wstring default_config_file_;
  std::wstring system_effects_;
  std::vector<Descriptor> properties_;  // the default replaces a text that is still empty
  std::vector<Descriptor> effects_;     // the default replaces a value that is missing
  bool result_ = false;
};

bool EndpointLoader::Run() {
  if (!info_.device_) return false;
  ForgetEarlierLoad();
  TakeIdentity();
  Describe();
  if (!ReadPropertyKey() || !ReadEffectKey() || !ReadFallbackKey()) return result_;
  for (const Descriptor& row : properties_)
    if (row.destination->empty()) *row.destination = row.default_text;
  if (info_.is_render_) {
    ChoosePresetsFile();
    ChooseFallbackConfigFile();
  }
  RegisterTechnologyLibrary();
  return result_;
}

void EndpointLoader::ForgetEarlierLoad() {
  ORVAPOEndpointInfo fresh(machine_);
  fresh.device_ = info_.device_;
  fresh.is_render_ = info_.is_render_;
  std::wstring subsystem = std::move(info_.subsystem_.text);  // the device is the same
  info_ = fresh;
  info_.subsystem_.text = std::move(subsystem);
}

void EndpointLoader::TakeIdentity() {
  info_.endpoint_id_ = DeviceIdentifier(*info_.device_);
  const std::wstring text = info_.endpoint_id_.substr(info_.endpoint_id_.rfind(L'.') + 1);
  if (const std::optional<GUID> guid = ParseGuid(text)) {
    info_.guid_ = *guid;
    info_.guid_text_ = ToUpperAscii(text);
  }
}

void EndpointLoader::Describe() {
  default_data_folder_ = InKnownFolder(kFolderProgramData, L"ORV Labs\\APO");
  default_config_file_ = InKnownFolder(kFolderProgramFiles, L"ORV Labs\\APO\\orv_apo_config.xml");
  properties_ = {
      {kApoKeyPathValue, &info_.apo_key_path_, kDefaultApoKey + (L'\\' + info_.guid_text_)},
      {kDataFolderValue, &info_.data_folder_, default_data_folder_},
      {kConfigFileValue, &info_.config_file_, default_config_file_},
      {kSetting3Value, &info_.setting3_},
      {kSetting4Value, &info_.setting4_},
      {kDeviceNameValue, &info_.device_name_},
      {kEndpointDescriptionValue, &info_.description_},
      {kFallbackKeyPathValue, &info_.fallback_key_path_.text}};
  effects_ = {{kSystemEffectsValue, &system_effects_, L"1"},
              {kPremixEffectValue, &info_.premix_effect_.text},
              {kStreamEffectValue, &info_.stream_effect_.text},
              {kModeEffectValue, &info_.mode_effect_.text},
              {kEndpointEffectValue, &info_.endpoint_effect_.text}};
}

std::wstring EndpointLoader::InKnownFolder(REFGUID folder, const wchar_t* rest) {
  const std::optional<std::wstring> path = machine_.KnownFolder(folder);
  if (!path || path->empty()) return {};
  return *path + (path->back() == L'\\' ? L"" : L"\\") + rest;
}

template <class Use>
bool EndpointLoader::ReadKey(const std::wstring& path, Use use) {
  ORVPropertySet values;
  ORVPropertySetRegistry binding;
  if (!binding.OpenKey(machine_.registry(), path, kQueryAccess)) return true;
  binding.SetPropertySet(&values);
  if (!binding.LoadValues()) return false;
  result_ = true;
  use(values);
  return true;
}

bool EndpointLoader::ReadPropertyKey() {
  const auto path = EndpointKeyPath(info_.is_render_, info_.guid_text_, kPropertiesSubkey);
  return ReadKey(path, [this](ORVPropertySet& values) {
    for (const Descriptor& row : properties_) values.GetProperty(row.value_name, *row.destination);
    info_.display_name_ = info_.device_name_ + L' ' + info_.description_;
  });
}

bool EndpointLoader::ReadEffectKey() {
  const auto path = EndpointKeyPath(info_.is_render_, info_.guid_text_, kEffectPropertiesSubkey);
  return ReadKey(path, [this](ORVPropertySet& values) {
    for (const Descriptor& row : effects_) {
      *row.destination = row.default_text;
      values.GetProperty(row.value_name, *row.destination);
    }
    for (EffectIdentifier* effect : {&info_.premix_effect_, &info_.stream_effect_,
                                     &info_.mode_effect_, &info_.endpoint_effect_})
      CompleteEffect(*effect);
    info_.system_effects_disabled_ = system_effects_ == L"1";
  });
}

bool EndpointLoader::ReadFallbackKey() {
  if (info_.fallback_key_path_.text.empty()) return true;
  return ReadKey(info_.fallback_key_path_.text, [this](ORVPropertySet& values) {
    for (const Descriptor& row : properties_)
      if (row.destination->empty()) values.GetProperty(row.value_name, *row.destination);
  });
}

void EndpointLoader::ChoosePresetsFile() {
  if (info_.config_file_ != default_config_file_) return;
  std::wstring presets = PresetsFile();
  if (!presets.empty() && machine_.FileExists(presets)) info_.config_file_ = std::move(presets);
}

std::wstring EndpointLoader::PresetsFile() {
  std::wstring& subsystem = info_.subsystem_.text;
  if (subsystem.empty()) subsystem = DeviceSubsystem(*info_.device_);
  if (subsystem.empty()) return {};
  const bool mode_effects =
      info_.mode_effect_.guid != GUID_NULL || info_.endpoint_effect_.guid != GUID_NULL;
  return default_data_folder_ + L"\\presets_" + subsystem + (mode_effects ? L"_81" : L"") + L".xml";
}

void EndpointLoader::ChooseFallbackConfigFile() {
  const std::wstring& folder = default_data_folder_;
  if (info_.config_file_ != folder + L"\\kxconfig.xml") return;
  if (machine_.FileExists(info_.config_file_)) return;
  const bool version_6_1 = machine_.IsPlatformVersion(6, 1);
  info_.config_file_ = folder + (version_6_1 ? L"\\kxconfig_WIN7.xml" : L"\\kxconfig_WIN81.xml");
}

void EndpointLoader::RegisterTechnologyLibrary() {
  if (info_.apo_key_path_.empty()) return;
  std::unique_ptr<RegistryKey> key;
  const RegStatus status = machine_.registry().CreateKey(RegRoot::LocalMachine, info_.apo_key_path_,
                                                         kApoKeyCreateAccess, key, nullptr);
  if (status != kRegOk || NamesTechnologyLibrary(*key)) return;
  const std::optional<std::wstring> directory = machine_.SystemDirectory();
  if (!directory || directory->empty() || directory->size() >= kPathCapacity) return;
  const auto bytes = RegistryTextBytes(*directory + L'\\' + TechnologyLibraryName(machine_));
  key->SetValue(kTechnologyPathValue, kRegSz, bytes.data(),
                static_cast<std::uint32_t>(bytes.size()));
}

void ORVAPOEndpointInfo::Reset() { *this = ORVAPOEndpointInfo(*machine_); }

bool ORVAPOEndpointInfo::Attach(IMMDevice* device, bool is_render) {
  ComPtr<IMMDevice> taken(device);  // it may be the one that Reset releases
  Reset();
  device_ = std::move(taken);
  is_render_ = is_render;
  return Load();
}

bool ORVAPOEndpointInfo::Load() { return EndpointLoader(*this).Run(); }

bool ORVAPOEndpointTools::EnumerateEndpoints(std::vector<ORVAPOEndpointInfo>& endpoints) {
  endpoints.clear();
  ComPtr<IMMDeviceEnumerator> enumerator;
  if (FAILED(machine_.CreateDeviceEnumerator(enumerator.Put())) || !enumerator) return false;
  ComPtr<IMMDeviceCollection> devices;
  if (FAILED(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATEMASK_ALL, devices.Put())) ||
      !devices)
    return false;
  UINT count = 0;
  if (FAILED(devices->GetCount(&count))) return false;
  for (UINT index = 0; index < count; ++index) {
    const ComPtr<IMMDevice> device = ActiveDevice(*devices, index);
    if (!device) continue;
    ORVAPOEndpointInfo info(machine_);
    if (info.Attach(device.get(), true)) endpoints.push_back(info);
  }
  return !endpoints.empty();
}

}  // namespace orv
