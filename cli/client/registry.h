// The registry as a client reads it beside the component.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/machine.h"
#include "platform/synchronization.h"
#include "properties/property_image.h"

namespace orv::cli {

// The component's keys that exist, for the machine or for the current user: its classes' and its
// type library's, with all below them.
std::vector<std::string> RegisteredKeys(Registry& registry, bool for_user);

// The name of the value that holds an endpoint's current mode.
std::string CurrentModeValue();

// The image in a value of the endpoint's registry key; nullopt if there is none.
std::optional<ImageBytes> ReadImage(Machine& machine, const std::string& registry_path,
                                    const std::string& value_name);

// Signals an event when a value of the key changes, once for each time it is armed.
class KeyWatch {
 public:
  // `path` is relative to HKEY_LOCAL_MACHINE.
  KeyWatch(Registry& registry, const std::string& path, Event& changed)
      : registry_(registry), path_(path), changed_(changed) {}

  // Asks for one more notification; opens the key again if it was deleted meanwhile. Throws Failure
  // if the key cannot be watched.
  void Arm();

 private:
  RegStatus TryArm() { return key_->NotifyChange(false, kNotifyLastSet | kNotifyName, changed_); }

  Registry& registry_;
  std::string path_;
  Event& changed_;
  std::unique_ptr<RegistryKey> key_;
};

}  // namespace orv::cli
