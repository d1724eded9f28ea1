#include "platform/simulated/simulated_devices.h"

namespace orv {

HRESULT ActivateOnEndpoint(const std::shared_ptr<SimulatedDevices>&, const SimulatedEndpoint&,
                           REFIID, void** object) {
  *object = nullptr;
  return E_NOINTERFACE;
}

}  // namespace orv
