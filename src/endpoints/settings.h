// What clients change, kept in the registry key of the endpoint's processing object: the public
// control values of one operating mode (ORVAPOPublicSettings) and the endpoint-wide switches
// (ORVAPOGlobalSettings).
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "config/operating_mode.h"
#include "endpoints/endpoint_info.h"
#include "properties/property_set_registry.h"

namespace orv {

inline constexpr char kProcessEnableControl[] = "ZAPO3-Process Enable";
inline constexpr char kMicMonitorEnableControl[] = "ZAPO3-Mic Monitor Enable";

class ORVAPOPublicSettings;

// Notified of every value that changes: on the changing thread, or on the watch thread for changes
// by other processes. The call comes under the settings' lock and does not call the settings.
class IORVSettingsNotify {
 public:
  virtual ~IORVSettingsNotify() = default;
  virtual void OnSettingChanged(ORVAPOPublicSettings& settings, const ORVQVTValue& value) = 0;
};

// Any thread may call. Failures show in the boolean results; a failed save leaves the registry
// value as it was.
class ORVAPOPublicSettings : public IORVPropertySetNotify {
 public:
  explicit ORVAPOPublicSettings(Machine& machine);
  ~ORVAPOPublicSettings() override;

  void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) override;
  // Binds to the mode's value: configured values, overwritten by those that are stored now. True
  // when the key could be opened; without a key nothing is stored. Removes the listener.
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
  // Fills `out` with what the settings hold, without a reload; nothing without a key.
  void CopyControls(ORVQVTValueList& out);
  // `out` becomes the default list in every case; true if the registry could be read.
  virtual bool ReadDefaultControls(ORVQVTValueList& out, bool clear);
  // Installs (null removes) the listener and switches the registry watch with it. Once it has
  // returned, the earlier listener is not called any more. False if the watch cannot be started.
  virtual bool SetNotifyTarget(IORVSettingsNotify* target);
  virtual bool DeleteValue();

 protected:
  // Opens the key and binds the settings set to the value; false, with no key bound, if the key
  // cannot be opened. The caller holds the lock and has stopped the watch.
  bool Bind(const std::wstring& key_path, std::wstring value_name);

  Machine& machine_;
  RecursiveMutex lock_;  // of everything; the watch's reloads take it too
  IORVSettingsNotify* target_ = nullptr;
  ORVPropertySet settings_;
  ORVPropertySet defaults_;
  ORVPropertySetRegistry binding_;
  std::wstring value_name_;
  ORVQVTValueList default_list_;

 private:
  // Most modes of an enumeration are only asked for their names, so Init keeps what it was given
  // and read, and the first operation that needs it takes it over. The caller holds the lock.
  void TakeControls();
  void TakeDefaults();
  bool Save() { return binding_.SaveBinaryAs(value_name_); }
  bool Reload();
  void Merge(const ImageBytes& image);

  // What Init was given, until it is taken over.
  std::optional<ORVAPOOperatingMode> unread_controls_;
  std::optional<ORVAPOOperatingMode> unread_defaults_;
  ImageBytes image_;  // that Init read, then the one that was merged last
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
