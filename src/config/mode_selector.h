// The current operating mode of an endpoint, kept as the registry value "OrvApoCurrOpMode" of its
// key for the processing object.
#pragma once

#include <mutex>
#include <string>

#include "config/operating_mode.h"
#include "platform/machine.h"
#include "properties/property_set_registry.h"

namespace orv {

// Notified of each change of the stored mode, also by other processes, once for each of the mode's
// two texts. The call comes under the selector's lock, on the thread that makes or notices the
// change; it does not call the selector.
class IORVModeNotify {
 public:
  virtual ~IORVModeNotify() = default;
  virtual void OnModeChanged() = 0;
};

// Any thread may call; changes by other processes arrive on the watch thread while a notify target
// is installed. Registry failures show only in the boolean results.
class ORVAPOModeSelector : public IORVPropertySetNotify {
 public:
  static constexpr wchar_t kCurrentModeValue[] = L"OrvApoCurrOpMode";

  explicit ORVAPOModeSelector(Machine& machine);
  ~ORVAPOModeSelector() override;

  void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) override;
  // Binds to the endpoint's key (relative to HKEY_LOCAL_MACHINE). The current mode is then the
  // stored one, or the default key. Writes nothing. False, and unbound, if the key cannot be
  // opened.
  virtual bool Init(const std::wstring& registry_path, const ORVAPOModeKey& default_key);
  virtual bool SetCurrentMode(
      const ORVAPOModeKey& key);  // validity is not tested; true when written
  // Reads the registry again; `key` is filled in every case. Returns true if the value exists and
  // its key is valid.
  virtual bool GetCurrentMode(ORVAPOModeKey& key);
  // Installs (null removes) the listener and switches the registry watch with it. Once it has
  // returned, the earlier listener is not called any more. False if the watch cannot be started.
  virtual bool SetNotifyTarget(IORVModeNotify* target);
  virtual bool DeleteStoredMode();

 private:
  bool SwitchWatch();  // on if there is a target; lock held

  Machine& machine_;
  RecursiveMutex lock_;  // of everything; the watch's reloads take it too
  IORVModeNotify* target_ = nullptr;
  ORVPropertySetThreadsafe set_;
  ORVPropertySetRegistry binding_;
};

}  // namespace orv
