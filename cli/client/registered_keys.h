// What the component's registration leaves in the registry.
#pragma once

#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/machine.h"

namespace orv::cli {

// The component's keys that exist, for the machine or for the current user: its classes' and its
// type library's, with all below them.
std::vector<std::string> RegisteredKeys(Registry& registry, bool for_user);

}  // namespace orv::cli
