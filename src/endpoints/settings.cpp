#include "endpoints/settings.h"

#include <utility>

#include "endpoints/endpoint_registry.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv {

ORVAPOPublicSettings::ORVAPOPublicSettings(Machine& machine) : machine_(machine) {
  binding_.SetReloadLock(&lock_);
}

ORVAPOPublicSettings::~ORVAPOPublicSettings() { ORVAPOPublicSettings::SetNotifyTarget(nullptr); }

void ORVAPOPublicSettings::OnPropertyChanged(ORVPropertySet&, const ORVPropertyEntry& entry) {
  const std::lock_guard lock(lock_);
  ORVQVTValue value;
  if (!AssignFromProperty(entry.value, value)) return;
  value.SetName(Narrow(entry.name));
  target_->OnSettingChanged(*this, value);
}

bool ORVAPOPublicSettings::Init(const ORVAPOEndpointInfo& endpoint,
                                const ORVAPOOperatingMode& mode) {
  const std::lock_guard lock(lock_);
  SetNotifyTarget(nullptr);
  unread_controls_ = unread_defaults_ = mode;
  const std::wstring& path = endpoint.apo_key_path();
  const bool opened = Bind(path, mode.GetModeKey().GetModeName());
  image_ = binding_.ReadImage(value_name_);
  Diagnose(ORV_HERE("ORVAPOPublicSettings::Init"),
           opened ? L"OK: %s found in registry\n" : L"Error: %s NOT found in registry\n", path);
  return opened;
}

bool ORVAPOPublicSettings::Bind(const std::wstring& key_path, std::wstring value_name) {
  value_name_ = std::move(value_name);
  binding_.SetPropertySet(&settings_);
  return binding_.OpenKey(machine_.registry(), key_path, kSettingsAccess);
}

void ORVAPOPublicSettings::TakeControls() {
  if (!unread_controls_) return;
  settings_.Clear();
  unread_controls_->GetPublicControls().SaveToPropertySet(settings_);
  Merge(image_);
  unread_controls_.reset();
}

void ORVAPOPublicSettings::TakeDefaults() {
  if (!unread_defaults_) return;
  default_list_ = unread_defaults_->GetDefaultControls();
  unread_defaults_.reset();
}

void ORVAPOPublicSettings::Merge(const ImageBytes& image) {
  settings_.MergePropertiesBinary(image, true, false);
  settings_.SetModified(false);
}

// The same image changes nothing as long as the settings are as it left them.
bool ORVAPOPublicSettings::Reload() {
  ImageBytes image = binding_.ReadImage(value_name_);
  if (image.empty()) return false;
  if (settings_.IsModified() || image != image_) Merge(image);
  image_ = std::move(image);
  return true;
}

bool ORVAPOPublicSettings::WriteControl(const ORVQVTValue& value) {
  const std::wstring name = value.GetWName();
  const std::lock_guard lock(lock_);
  TakeControls();
  if (!settings_.HasProperty(name.c_str())) {
    Diagnose(ORV_HERE("ORVAPOPublicSettings::WriteControl"),
             L"WriteControl: Unable to get property %s\n", name);
    return false;
  }
  settings_.SetProperty(name.c_str(), boost::any(value.ToString()));
  const bool saved = Save();
  if (!saved && binding_.GetKey() == nullptr)
    Diagnose(ORV_HERE("ORVAPOPublicSettings::WriteControl"),
             L"WriteControl: Registry key is not opened.\n");
  return saved;
}

bool ORVAPOPublicSettings::WriteControls(const ORVQVTValueList& list) {
  const std::lock_guard lock(lock_);
  TakeControls();
  list.SaveToPropertySet(settings_);
  return binding_.GetKey() != nullptr && Save();
}

bool ORVAPOPublicSettings::WriteDefaultControls() {
  const std::lock_guard lock(lock_);
  TakeControls();
  TakeDefaults();
  default_list_.SaveToPropertySet(defaults_);
  return binding_.GetKey() != nullptr && Save();
}

bool ORVAPOPublicSettings::ReadControls(ORVQVTValueList& out, bool clear) {
  const std::lock_guard lock(lock_);
  if (clear) out.Clear();
  if (binding_.GetKey() == nullptr) return false;
  TakeControls();
  const bool loaded = Reload();
  out.LoadFromPropertySet(settings_);
  return loaded;
}

void ORVAPOPublicSettings::CopyControls(ORVQVTValueList& out) {
  const std::lock_guard lock(lock_);
  if (binding_.GetKey() == nullptr) return;
  TakeControls();
  out.LoadFromPropertySet(settings_);
}

bool ORVAPOPublicSettings::ReadDefaultControls(ORVQVTValueList& out, bool clear) {
  const std::lock_guard lock(lock_);
  if (clear) out.Clear();
  TakeControls();
  TakeDefaults();
  bool loaded = false;
  if (binding_.GetKey() != nullptr) {
    loaded = Reload();
    default_list_.LoadFromPropertySet(defaults_);
  }
  out = default_list_;
  return loaded;
}

bool ORVAPOPublicSettings::SetNotifyTarget(IORVSettingsNotify* target) {
  const std::lock_guard lock(lock_);
  if (target != nullptr) {
    TakeControls();
    settings_.AddNotify(this);
  } else {
    settings_.RemoveNotify(this);
  }
  target_ = target;
  return binding_.StartWatch(target_ != nullptr, value_name_);
}

bool ORVAPOPublicSettings::DeleteValue() {
  const std::lock_guard lock(lock_);
  RegistryKey* const key = binding_.GetKey();
  return key != nullptr && key->DeleteValue(value_name_) == kRegOk;
}

// The watch thread may be calling this object: it ends before the object becomes its base.
ORVAPOGlobalSettings::~ORVAPOGlobalSettings() { ORVAPOGlobalSettings::SetNotifyTarget(nullptr); }

bool ORVAPOGlobalSettings::Init(const ORVAPOEndpointInfo&, const ORVAPOOperatingMode&) {
  return false;
}

bool ORVAPOGlobalSettings::InitGlobal(const ORVAPOEndpointInfo& endpoint) {
  const std::lock_guard lock(lock_);
  SetNotifyTarget(nullptr);
  default_list_.GetOrAdd(kProcessEnableControl) = ORVQVTValue(kProcessEnableControl, 1);
  default_list_.GetOrAdd(kMicMonitorEnableControl) = ORVQVTValue(kMicMonitorEnableControl, 0);
  default_list_.SaveToPropertySet(settings_);
  if (!Bind(endpoint.apo_key_path(), kGlobalSettingsValue)) return false;
  binding_.LoadBinary(value_name_, true, true, true);
  return true;
}

}  // namespace orv
