// A property set bound to a key of a simulated machine.
#pragma once

#include <memory>
#include <string>

#include "platform/simulated/simulated_machine.h"
#include "properties/property_set_registry.h"
#include "properties/property_story.h"
#include "support/registry_story.h"

namespace orv::test {

struct BoundSet {
  explicit BoundSet(Machine& machine) : key(MachineKey(machine, L"SOFTWARE\\Test")) {
    binding.SetKey(key.get());
    binding.SetPropertySet(&set);
  }
  std::unique_ptr<RegistryKey> key;
  ORVPropertySetThreadsafe set;
  ORVPropertySetRegistry binding;
};

}  // namespace orv::test
