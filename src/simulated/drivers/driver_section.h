// The "drivers" section of machine.json.
#pragma once

#include "simulated/description/json_field.h"
#include "simulated/description/machine_description.h"
#include "simulated/drivers/driver_description.h"

namespace orv {

// Throws JsonRefusal; `endpoints` are those of the same file.
DriversDescription ReadDrivers(const JsonField& field,
                               const std::vector<SimulatedEndpoint>& endpoints);

}  // namespace orv
