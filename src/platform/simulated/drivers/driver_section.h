// The "drivers" section of machine.json.
#pragma once

#include "platform/simulated/drivers/driver_description.h"
#include "platform/simulated/json_field.h"
#include "platform/simulated/machine_description.h"

namespace orv {

// Throws JsonRefusal; `endpoints` are those of the same file.
DriversDescription ReadDrivers(const JsonField& field,
                               const std::vector<SimulatedEndpoint>& endpoints);

}  // namespace orv
