// What a listener would notice of what the drivers hold.
#pragma once

#include <vector>

#include "simulated/drivers/driver_description.h"
#include "simulated/drivers/driver_memory.h"

namespace orv {

// In the order of the drivers (Skylake, Broadwell, Qualcomm) that the machine has.
std::vector<DriverRemark> RemarksOn(const DriverMemory& memory, const DriversDescription& drivers);

}  // namespace orv
