// The property store of a simulated endpoint.
#pragma once

#include <memory>

#include "simulated/devices/simulated_devices.h"

namespace orv {

// Opens the endpoint's properties, in their order; the form factor comes last when the description
// does not list it. The store is read-only.
IPropertyStore* OpenEndpointStore(const SimulatedEndpoint& endpoint,
                                  std::shared_ptr<FaultPlan> faults);

}  // namespace orv
