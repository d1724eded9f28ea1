// Audio clients of a simulated machine's endpoints.
#pragma once

#include "simulated/devices/simulated_devices.h"

namespace orv {

// A new audio client in shared mode, with one reference for the caller.
HRESULT ActivateSimulatedAudioClient(const SimulatedDevices& devices,
                                     const SimulatedEndpoint& endpoint, void** object);

}  // namespace orv
