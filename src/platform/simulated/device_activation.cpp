#include "platform/audio_client.h"
#include "platform/device_topology.h"
#include "platform/simulated/drivers/topology_objects.h"
#include "platform/simulated/simulated_devices.h"
#include "platform/simulated/sound/audio_client.h"

namespace orv {

HRESULT ActivateOnEndpoint(const std::shared_ptr<SimulatedDevices>& devices,
                           const SimulatedEndpoint& endpoint, REFIID iid, void** object) {
  *object = nullptr;
  if (iid == IID_IAudioClient) return ActivateSimulatedAudioClient(*devices, endpoint, object);
  if (iid == IID_IDeviceTopology) return OpenEndpointTopology(devices, endpoint.id, object);
  return E_NOINTERFACE;
}

}  // namespace orv
