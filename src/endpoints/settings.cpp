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
  settings_.Clear();
  default_list_ = mode.GetDefaultControls();
  mode.GetPublicControls().SaveToPropertySet(settings_);
  const std::wstring& path = endpoint.apo_key_path();
  const bool opened = Bind(path, mode.GetModeKey().GetModeName(), false);
  Diagnose(ORV_HERE("ORVAPOPublicSettings::Init"),
           opened ? L"OK: %s found in registry\n" : L"Error: %s NOT found in registry\n", path);
  return opened;
}

bool ORVAPOPublicSettings::Bind(const std::wstring& key_path, std::wstring value_name,
                                bool add_new) {
  value_name_ = std::move(value_name);
  if (!binding_.OpenKey(machine_.registry(), key_path, kSettingsAccess)) return false;
  binding_.SetPropertySet(&settings_);
  binding_.LoadBinary(value_name_, true, true, add_new);
  return true;
}

bool ORVAPOPublicSettings::WriteControl(const ORVQVTValue& value) {
  const std::wstring name = value.GetWName();
  const std::lock_guard lock(lock_);
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
  list.SaveToPropertySet(settings_);
  return binding_.GetKey() != nullptr && Save();
}

bool ORVAPOPublicSettings::WriteDefaultControls() {
  const std::lock_guard lock(lock_);
  default_list_.SaveToPropertySet(defaults_);
  return binding_.GetKey() != nullptr && Save();
}

bool ORVAPOPublicSettings::ReadControls(ORVQVTValueList& out, bool clear) {
  const std::lock_guard lock(lock_);
  if (clear) out.Clear();
  if (binding_.GetKey() == nullptr) return false;
  const bool loaded = Reload();
  out.LoadFromPropertySet(settings_);
  return loaded;
}

bool ORVAPOPublicSettings::ReadDefaultControls(ORVQVTValueList& out, bool clear) {
  const std::lock_guard lock(lock_);
  if (clear) out.Clear();
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
  if (target != nullptr)
    settings_.AddNotify(this);
  else
    settings_.RemoveNotify(this);
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
  return Bind(endpoint.apo_key_path(), kGlobalSettingsValue, true);
}

}  // namespace orv
