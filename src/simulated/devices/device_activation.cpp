#include "platform/audio_client.h"
#include "platform/device_topology.h"
#include "simulated/devices/simulated_devices.h"
#include "simulated/drivers/topology_objects.h"
#include "simulated/sound/simulated_audio_client.h"

namespace orv {

HRESULT ActivateOnEndpoint(const std::shared_ptr<SimulatedDevices>& devices,
                           const SimulatedEndpoint& endpoint, REFIID iid, void** object) {
  *object = nullptr;
  if (iid == IID_IAudioClient) return ActivateSimulatedAudioClient(*devices, endpoint, object);
  if (iid == IID_IDeviceTopology) return OpenEndpointTopology(devices, endpoint.id, object);
  return E_NOINTERFACE;
}

}  // namespace orv
