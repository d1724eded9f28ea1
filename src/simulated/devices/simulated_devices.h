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

// What the devices stand on. Objects that a client still holds keep it alive.
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

// Interfaces that an endpoint activates: its topology, its audio client.
HRESULT ActivateOnEndpoint(const std::shared_ptr<SimulatedDevices>& devices,
                           const SimulatedEndpoint& endpoint, REFIID iid, void** object);

}  // namespace orv
