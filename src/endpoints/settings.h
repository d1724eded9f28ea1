// What clients change, kept in the registry key of the endpoint's processing object: the public
// control values of one operating mode (ORVAPOPublicSettings) and the endpoint-wide switches
// (ORVAPOGlobalSettings).
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "config/operating_mode.h"
#include "endpoints/endpoint_info.h"
#include "endpoints/watch_turn.h"
#include "properties/property_set_registry.h"

namespace orv {

inline constexpr char kProcessEnableControl[] = "ZAPO3-Process Enable";
inline constexpr char kMicMonitorEnableControl[] = "ZAPO3-Mic Monitor Enable";

class ORVAPOPublicSettings;

// Told of every value that changes, by whomever: on the changing thread, or on the watch thread for
// other processes.
class IORVSettingsNotify {
 public:
  virtual ~IORVSettingsNotify() = default;
  virtual void OnSettingChanged(ORVAPOPublicSettings& settings, const ORVQVTValue& value) = 0;
};

// Any thread may call; a data lock serialises what touches the sets and the key, a second lock
// guards the notify target (always taken after the data lock, never before). Failures show in the
// boolean results; a failed save leaves the registry value as it was.
class ORVAPOPublicSettings : public IORVPropertySetNotify {
 public:
  explicit ORVAPOPublicSettings(Machine& machine);
  ~ORVAPOPublicSettings() override;

  void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) override;
  bool OnPropertyChanging(ORVPropertySet& set, const ORVPropertyEntry& entry) override;
  // Binds to the mode's value: configured values, overwritten by stored ones. True when the key
  // could be opened; without a key nothing is stored. Removes the listener. Not to be called from
  // the listener.
  virtual bool Init(const ORVAPOEndpointInfo& endpoint, const ORVAPOOperatingMode& mode);
  // Stores one value that the settings hold, and saves.
  virtual bool WriteControl(const ORVQVTValue& value);
  // Stores a batch (adding what is missing), and saves.
  virtual bool WriteControls(const ORVQVTValueList& list);
  // Copies the defaults into the defaults set, and saves.
  virtual bool WriteDefaultControls();
  // Reloads from the registry, then fills `out` (emptied first with `clear`; a non-empty list is
  // only updated).
  virtual bool ReadControls(ORVQVTValueList& out, bool clear);
  // `out` becomes the default list in every case; the result tells whether the registry could be
  // read.
  virtual bool ReadDefaultControls(ORVQVTValueList& out, bool clear);
  // Installs (null removes) the listener and switches the registry watch with it. Safe to call from
  // the listener itself. When this returns on another thread, an earlier listener is not called any
  // more. While another thread is switching the watch, that thread does this switch too, and the
  // result is true. A replaced listener that is still being called after 5 s is given up: the watch
  // thread is terminated with the locks that it holds.
  virtual bool SetNotifyTarget(IORVSettingsNotify* target);
  virtual bool DeleteValue();

 protected:
  // Opens the key, binds the settings set to the value and loads what it holds; false, with no key
  // bound, when the key cannot be opened. The caller holds the data lock.
  bool Bind(const std::wstring& key_path, std::wstring value_name, bool add_new);
  // Ends the watch for good; before any part of the object goes.
  void EndNotification();

  Machine& machine_;
  std::recursive_timed_mutex data_lock_;
  std::recursive_mutex target_lock_;
  std::atomic<IORVSettingsNotify*> target_ = nullptr;  // written under the target lock
  WatchTurn watch_turn_;
  ORVPropertySet settings_;
  ORVPropertySet defaults_;
  ORVPropertySetRegistry binding_;
  std::wstring value_name_;  // written under the data lock and the watch turn
  ORVQVTValueList default_list_;
  std::unique_ptr<RegistryKey> key_;

 private:
  bool Save() { return binding_.SaveBinary(value_name_.c_str()); }
  bool Reload() { return binding_.LoadBinary(value_name_, true, true, false); }
  bool SwitchWatchAndLeave();
};

class ORVAPOGlobalSettings : public ORVAPOPublicSettings {
 public:
  using ORVAPOPublicSettings::ORVAPOPublicSettings;
  ~ORVAPOGlobalSettings() override;
  // Does nothing: false.
  bool Init(const ORVAPOEndpointInfo& endpoint, const ORVAPOOperatingMode& mode) override;
  // Binds to "OrvApoGlobal" with processing on and microphone monitoring off as defaults.
  virtual bool InitGlobal(const ORVAPOEndpointInfo& endpoint);
};

}  // namespace orv
