// The multimedia devices of a simulated machine, through their COM interfaces.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/multimedia.h"
#include "simulated/description/fault_plan.h"
#include "simulated/description/machine_description.h"
#include "simulated/drivers/driver_store.h"
#include "simulated/sound/simulated_sound.h"

namespace orv {

// The state that the devices share. Objects that a client still holds keep it alive.
struct SimulatedDevices {
  std::filesystem::path folder;  // the machine's; empty in memory
  MachineDescription description;
  std::shared_ptr<FaultPlan> faults;
  std::shared_ptr<DriverStore> drivers;
  std::shared_ptr<SimulatedSound> sound = std::make_shared<SimulatedSound>();
};

// Makes the enumerator, with one reference for the caller.
HRESULT CreateSimulatedEnumerator(std::shared_ptr<SimulatedDevices> devices,
                                  IMMDeviceEnumerator** enumerator);

// Makes an audio client in shared mode, with one reference for the caller.
HRESULT ActivateSimulatedAudioClient(const SimulatedDevices& devices,
                                     const SimulatedEndpoint& endpoint, void** object);

// Opens the topology of an endpoint; E_NOINTERFACE if no driver shows one.
HRESULT OpenEndpointTopology(const std::shared_ptr<SimulatedDevices>& devices,
                             const std::wstring& endpoint, void** topology);

// Opens a codec or wave filter by its device identifier; kNotFound for any other.
HRESULT OpenAdapterDevice(const std::shared_ptr<SimulatedDevices>& devices, const std::wstring& id,
                          IMMDevice** device);

}  // namespace orv
