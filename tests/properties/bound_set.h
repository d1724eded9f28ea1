// A property set bound to a key of a simulated machine.
#pragma once

#include <memory>
#include <string>

#include "platform/simulated/simulated_machine.h"
#include "properties/property_set_registry.h"
#include "properties/property_story.h"

namespace orv::test {

inline std::unique_ptr<RegistryKey> OpenTestKey(Machine& machine) {
  std::unique_ptr<RegistryKey> key;
  const std::uint32_t access = kKeyQueryValue | kKeySetValue | kKeyNotify | kKeyWow64_64;
  machine.registry().CreateKey(RegRoot::LocalMachine, L"SOFTWARE\\Test", access, key, nullptr);
  return key;
}

struct BoundSet {
  explicit BoundSet(Machine& machine) : key(OpenTestKey(machine)) {
    binding.SetKey(key.get());
    binding.SetPropertySet(&set);
  }
  std::unique_ptr<RegistryKey> key;
  ORVPropertySetThreadsafe set;
  ORVPropertySetRegistry binding;
};

}  // namespace orv::test
