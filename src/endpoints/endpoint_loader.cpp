#include "endpoints/endpoint_loader.h"

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

}  // namespace

EndpointLoader::EndpointLoader(ORVAPOEndpointInfo& info)
    : info_(info),
      machine_(*info.machine_),
      descriptors_{{
          {Source::PropertyKey, true, kApoKeyPathValue, info.apo_key_path_, defaults_.apo_key_path},
          {Source::PropertyKey, true, kDataFolderValue, info.data_folder_, defaults_.data_folder},
          {Source::PropertyKey, true, kConfigFileValue, info.config_file_, defaults_.config_file},
          {Source::PropertyKey, true, kSetting3Value, info.setting3_, defaults_.none},
          {Source::PropertyKey, true, kSetting4Value, info.setting4_, defaults_.none},
          {Source::PropertyKey, false, kDeviceNameValue, info.device_name_, defaults_.none},
          {Source::PropertyKey, false, kEndpointDescriptionValue, info.description_,
           defaults_.none},
          {Source::PropertyKey, false, kFallbackKeyPathValue, info.fallback_key_path_.text,
           defaults_.none},
          {Source::EffectKey, false, kSystemEffectsValue, system_effects_,
           defaults_.system_effects},
          {Source::EffectKey, false, kPremixEffectValue, info.premix_effect_.text, defaults_.none},
          {Source::EffectKey, false, kStreamEffectValue, info.stream_effect_.text, defaults_.none},
          {Source::EffectKey, false, kModeEffectValue, info.mode_effect_.text, defaults_.none},
          {Source::EffectKey, false, kEndpointEffectValue, info.endpoint_effect_.text,
           defaults_.none},
      }} {}

bool EndpointLoader::Run() {
  if (!info_.device_) return false;
  ForgetEarlierLoad();
  TakeIdentity();
  PrepareDefaults();
  if (!ReadPropertyKey() || !ReadEffectKey() || !ReadFallbackKey()) return result_;
  FillDefaults();
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

void EndpointLoader::PrepareDefaults() {
  defaults_.apo_key_path = kDefaultApoKey + (L'\\' + info_.guid_text_);
  defaults_.data_folder = InKnownFolder(kFolderProgramData, L"ORV Labs\\APO");
  defaults_.config_file = InKnownFolder(kFolderProgramFiles, L"ORV Labs\\APO\\orv_apo_config.xml");
}

std::wstring EndpointLoader::InKnownFolder(REFGUID folder, const wchar_t* rest) {
  const std::optional<std::wstring> path = machine_.KnownFolder(folder);
  if (!path || path->empty()) return {};
  return *path + (path->back() == L'\\' ? L"" : L"\\") + rest;
}

EndpointLoader::KeyReading EndpointLoader::ReadKey(const std::wstring& path,
                                                   ORVPropertySet& values) {
  std::unique_ptr<RegistryKey> key;
  if (machine_.registry().OpenKey(RegRoot::LocalMachine, path, kQueryAccess, key) != kRegOk)
    return KeyReading::Missing;
  ORVPropertySetRegistry binding;
  binding.SetKey(key.get());
  binding.SetPropertySet(&values);
  if (!binding.LoadValues()) return KeyReading::Unreadable;
  result_ = true;
  return KeyReading::Complete;
}

bool EndpointLoader::ReadPropertyKey() {
  ORVPropertySet values;
  const KeyReading reading =
      ReadKey(EndpointKeyPath(info_.is_render_, info_.guid_text_, kPropertiesSubkey), values);
  if (reading != KeyReading::Complete) return reading == KeyReading::Missing;
  for (const Descriptor& row : descriptors_)
    if (row.source == Source::PropertyKey) values.GetProperty(row.value_name, row.destination);
  info_.display_name_ = info_.device_name_ + L' ' + info_.description_;
  return true;
}

bool EndpointLoader::ReadEffectKey() {
  ORVPropertySet values;
  const KeyReading reading =
      ReadKey(EndpointKeyPath(info_.is_render_, info_.guid_text_, kEffectPropertiesSubkey), values);
  if (reading != KeyReading::Complete) return reading == KeyReading::Missing;
  for (const Descriptor& row : descriptors_) {
    if (row.source != Source::EffectKey) continue;
    row.destination = row.default_text;
    values.GetProperty(row.value_name, row.destination);
  }
  for (EffectIdentifier* effect :
       {&info_.premix_effect_, &info_.stream_effect_, &info_.mode_effect_, &info_.endpoint_effect_})
    CompleteEffect(*effect);
  info_.system_effects_disabled_ = system_effects_ == L"1";
  return true;
}

bool EndpointLoader::ReadFallbackKey() {
  if (info_.fallback_key_path_.text.empty()) return true;
  ORVPropertySet values;
  const KeyReading reading = ReadKey(info_.fallback_key_path_.text, values);
  if (reading != KeyReading::Complete) return reading == KeyReading::Missing;
  for (const Descriptor& row : descriptors_)
    if (row.source == Source::PropertyKey && row.destination.empty())
      values.GetProperty(row.value_name, row.destination);
  return true;
}

void EndpointLoader::FillDefaults() {
  for (const Descriptor& row : descriptors_)
    if (row.default_fills_empty && row.destination.empty()) row.destination = row.default_text;
}

void EndpointLoader::ChoosePresetsFile() {
  if (info_.config_file_ != defaults_.config_file) return;
  std::wstring presets = PresetsFile();
  if (!presets.empty() && machine_.FileExists(presets)) info_.config_file_ = std::move(presets);
}

std::wstring EndpointLoader::PresetsFile() {
  const std::wstring& subsystem = Subsystem();
  if (subsystem.empty()) return {};
  const bool mode_effects =
      info_.mode_effect_.guid != GUID_NULL || info_.endpoint_effect_.guid != GUID_NULL;
  return defaults_.data_folder + L"\\presets_" + subsystem + (mode_effects ? L"_81" : L"") +
         L".xml";
}

const std::wstring& EndpointLoader::Subsystem() {
  if (info_.subsystem_.text.empty()) info_.subsystem_.text = DeviceSubsystem(*info_.device_);
  return info_.subsystem_.text;
}

void EndpointLoader::ChooseFallbackConfigFile() {
  const std::wstring& folder = defaults_.data_folder;
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

}  // namespace orv
