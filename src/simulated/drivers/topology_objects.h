// The device topology of endpoints, through its COM interfaces.
#pragma once

#include "simulated/devices/simulated_devices.h"

namespace orv {

// The topology of an endpoint itself; E_NOINTERFACE when no driver shows one.
HRESULT OpenEndpointTopology(const std::shared_ptr<SimulatedDevices>& devices,
                             const std::wstring& endpoint, void** topology);

// A codec or wave filter by its device identifier; kNotFound for any other.
HRESULT OpenAdapterDevice(const std::shared_ptr<SimulatedDevices>& devices, const std::wstring& id,
                          IMMDevice** device);

}  // namespace orv
