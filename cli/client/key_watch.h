// Waiting for changes in an endpoint's registry key.
#pragma once

#include <memory>
#include <string>

#include "platform/machine.h"
#include "platform/synchronization.h"

namespace orv::cli {

// Signals an event when a value of the key changes, once for each time it is armed.
class KeyWatch {
 public:
  // `path` is relative to HKEY_LOCAL_MACHINE.
  KeyWatch(Registry& registry, const std::string& path, Event& changed)
      : registry_(registry), path_(path), changed_(changed) {}

  // One more notification; the key is opened again when it was deleted meanwhile. Throws Failure
  // when the key cannot be watched.
  void Arm();

 private:
  RegStatus TryArm() { return key_->NotifyChange(false, kNotifyLastSet | kNotifyName, changed_); }

  Registry& registry_;
  std::string path_;
  Event& changed_;
  std::unique_ptr<RegistryKey> key_;
};

}  // namespace orv::cli
