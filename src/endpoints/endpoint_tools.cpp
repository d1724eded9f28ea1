#include "endpoints/endpoint_tools.h"

namespace orv {
namespace {

// The device at a position, when it is there and active.
ComPtr<IMMDevice> ActiveDevice(IMMDeviceCollection& devices, UINT index) {
  ComPtr<IMMDevice> device;
  if (FAILED(devices.Item(index, device.Put())) || !device) return nullptr;
  DWORD state = 0;
  if (FAILED(device->GetState(&state)) || state != DEVICE_STATE_ACTIVE) return nullptr;
  return device;
}

}  // namespace

bool ORVAPOEndpointTools::EnumerateEndpoints(std::vector<ORVAPOEndpointInfo>& endpoints) {
  endpoints.clear();
  ComPtr<IMMDeviceEnumerator> enumerator;
  if (FAILED(machine_.CreateDeviceEnumerator(enumerator.Put())) || !enumerator) return false;
  ComPtr<IMMDeviceCollection> devices;
  if (FAILED(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATEMASK_ALL, devices.Put())) ||
      !devices)
    return false;
  UINT count = 0;
  if (FAILED(devices->GetCount(&count))) return false;
  for (UINT index = 0; index < count; ++index) {
    const ComPtr<IMMDevice> device = ActiveDevice(*devices, index);
    if (!device) continue;
    ORVAPOEndpointInfo info(machine_);
    if (info.Attach(device.get(), true)) endpoints.push_back(info);
  }
  return !endpoints.empty();
}

}  // namespace orv
