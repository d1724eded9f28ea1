// The current operating mode of an endpoint, kept as the registry value "OrvApoCurrOpMode" of its
// key for the processing object.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "config/operating_mode.h"
#include "platform/machine.h"
#include "properties/property_set_registry.h"

namespace orv {

// Told when the stored mode changes, by whomever; on the thread that makes or notices the change,
// once for each of the mode's two texts.
class IORVModeNotify {
 public:
  virtual ~IORVModeNotify() = default;
  virtual void OnModeChanged() = 0;
};

// Any thread may call; changes by other processes arrive on the watch thread while a notify target
// is installed. Registry failures show only in the boolean results.
//
// Locks, in the order in which they are taken: watch, data, the set's own, target. Whoever waits
// for the watch thread holds the watch lock alone, which no listener call ever takes.
class ORVAPOModeSelector : public IORVPropertySetNotify {
 public:
  static constexpr wchar_t kCurrentModeValue[] = L"OrvApoCurrOpMode";

  explicit ORVAPOModeSelector(Machine& machine);
  ~ORVAPOModeSelector() override;  // not from the listener

  void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) override;
  bool OnPropertyChanging(ORVPropertySet& set, const ORVPropertyEntry& entry) override;
  // Binds to the endpoint's key (relative to HKEY_LOCAL_MACHINE). The current mode is then the
  // stored one, or the default key. Writes nothing. False, and unbound, when the key cannot be
  // opened. Not from the listener.
  virtual bool Init(const std::wstring& registry_path, const ORVAPOModeKey& default_key);
  virtual bool SetCurrentMode(
      const ORVAPOModeKey& key);  // validity is not tested; true when written
  // Reads the registry afresh; `key` is filled in every case. True when the value was there and its
  // key is valid.
  virtual bool GetCurrentMode(ORVAPOModeKey& key);
  // Installs (null removes) the listener and switches the registry watch with it. Once it has
  // returned, the earlier listener is not called any more. From the listener itself it only changes
  // the listener (true); the watch follows with the next call from elsewhere.
  virtual bool SetNotifyTarget(IORVModeNotify* target);
  virtual bool DeleteStoredMode();

 private:
  class ListenerCall;
  class ChangeBatch;
  bool InListenerCall() const noexcept;
  bool HasTarget();
  void CallTarget();  // data lock held
  bool Bind(const std::wstring& registry_path, const ORVAPOModeKey& default_key);
  bool SwitchWatch();  // to what the target asks for; watch lock held
  void FollowTarget();

  Machine& machine_;
  std::mutex watch_lock_;                 // StartWatch
  std::recursive_timed_mutex data_lock_;  // everything else; the watch's reloads take it too
  IORVModeNotify* target_ = nullptr;
  std::atomic<std::thread::id> calling_thread_{};  // the one inside the listener
  std::atomic<bool> watch_outdated_{false};
  ChangeBatch* batch_ = nullptr;
  std::unique_ptr<RegistryKey> key_;
  ORVPropertySetThreadsafe set_;
  ORVPropertySetRegistry binding_;
};

}  // namespace orv
