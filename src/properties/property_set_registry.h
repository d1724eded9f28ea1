// Binds one property set to one open registry key: as one binary image in a single value, or as one
// value per property. Can save after every change, and can watch the key and reload when another
// program writes it.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "platform/registry.h"
#include "properties/property_set.h"
#include "properties/thread_basic.h"

namespace orv {

// Not locked: the owner serialises its calls. While a watch runs, reloads reach the attached set
// from the watch thread, so such an owner attaches an ORVPropertySetThreadsafe or gives a reload
// lock, and keeps the set alive until the watch is stopped.
class ORVPropertySetRegistry : public IORVPropertySetNotify, private IORVThreadBasicWorker {
 public:
  ORVPropertySetRegistry() = default;
  ~ORVPropertySetRegistry() override;  // stops the watch, detaches the set, closes the key

  void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) override;

  // The set is not owned; null detaches.
  virtual void SetPropertySet(ORVPropertySet* set);
  // Keeps a duplicate of the key (null: none). Returns true if a key is held afterwards.
  virtual bool SetKey(RegistryKey* key);
  virtual RegistryKey* GetKey();
  // Returns false, with the set unchanged, if the value is missing, is not REG_BINARY, or is empty.
  // With `merge` the two flags choose what is taken over; without it, the image replaces the
  // content of the set.
  virtual bool LoadBinary(const std::wstring& value_name, bool merge, bool overwrite_existing,
                          bool add_new);
  // Writes the image of the set; null means the value last loaded or saved. Returns false
  // without a write if an entry cannot be encoded or the set is empty.
  virtual bool SaveBinary(const wchar_t* value_name);
  // One registry value per property. Returns false if a value could not be read (written); the
  // others still are.
  virtual bool LoadValues();
  virtual bool SaveValues();
  // Saves the image after every change of the set, under the current value name.
  virtual void EnableAutoSave(bool enable, const std::wstring& value_name);
  // Starts (after stopping an earlier one) or stops watching the key: whenever a value of it
  // changes, `value_name` is reloaded into the set (merge, overwrite, no add), which notifies the
  // set's listeners of each property that really changed, on the watch thread. A listener does not
  // call this. True if stopped, or if the watch thread could be started.
  virtual bool StartWatch(bool start, const std::wstring& value_name);

  // The image that LoadBinary would take from the value; empty if there is none.
  ImageBytes ReadImage(const std::wstring& value_name) const;
  // SaveBinary for an owner that names the value each time: does not make it the current one.
  bool SaveBinaryAs(const std::wstring& value_name);
  // Opens a key below HKEY_LOCAL_MACHINE and keeps it; after a failure it has none.
  bool OpenKey(Registry& registry, const std::wstring& path, std::uint32_t access);
  // A lock to hold during a reload by the watch; null for none. Set before the watch is started.
  // The reload gives up waiting for it, and for the set's own lock, once the watch is being
  // stopped.
  void SetReloadLock(RecursiveMutex* lock) { reload_lock_ = lock; }

 private:
  bool Run(ORVThreadBasic& thread, Event& stop) override;

  struct Binding {
    ORVPropertySet* set = nullptr;
    std::shared_ptr<RegistryKey> key;
  };
  Binding Current() const;
  void Remember(const std::wstring& value_name);
  void Reload(const std::wstring& value_name, Event& stop);

  // Guards the following members against the watch thread; never held during a call to another
  // object.
  mutable std::mutex state_lock_;
  Binding binding_;
  std::wstring value_name_;
  std::wstring watch_value_name_;

  std::atomic<bool> auto_save_{false};
  RecursiveMutex* reload_lock_ = nullptr;
  ORVThreadBasic thread_;
};

}  // namespace orv
