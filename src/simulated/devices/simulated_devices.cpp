#include "simulated/devices/simulated_devices.h"

#include <algorithm>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "simulated/devices/counted_object.h"
#include "simulated/devices/property_store.h"
#include "simulated/devices/task_memory.h"
#include "simulated/drivers/topology_objects.h"

namespace orv {
namespace {

class Device final : public CountedObject<IMMDevice, IMMEndpoint> {
 public:
  Device(SimulatedEndpoint endpoint, std::shared_ptr<SimulatedDevices> devices)
      : endpoint_(std::move(endpoint)), devices_(std::move(devices)), faults_(devices_->faults) {}

  HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD, PROPVARIANT*, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("device.activate")) return *fault;
      return ActivateOnEndpoint(devices_, endpoint_, iid, object);
    });
  }

  HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) override {
    if (store == nullptr) return E_POINTER;
    *store = nullptr;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("device.open_store")) return *fault;
      if (access != STGM_READ) return E_ACCESSDENIED;
      *store = OpenEndpointStore(endpoint_, faults_);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override {
    if (id == nullptr) return E_POINTER;
    *id = nullptr;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("device.get_id")) return *fault;
      return CopyTaskText(endpoint_.id, id);
    });
  }

  HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override {
    if (state == nullptr) return E_POINTER;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("device.get_state")) return *fault;
      *state = endpoint_.state;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) override {
    if (flow == nullptr) return E_POINTER;
    *flow = endpoint_.flow;
    return S_OK;
  }

 private:
  const SimulatedEndpoint endpoint_;  // as it was when the device was asked for
  std::shared_ptr<SimulatedDevices> devices_;
  std::shared_ptr<FaultPlan> faults_;
};

class DeviceCollection final : public CountedObject<IMMDeviceCollection> {
 public:
  DeviceCollection(std::vector<ComPtr<IMMDevice>> devices, std::shared_ptr<FaultPlan> faults)
      : devices_(std::move(devices)), faults_(std::move(faults)) {}

  HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("devices.count")) return *fault;
      *count = static_cast<UINT>(devices_.size());
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override {
    if (device == nullptr) return E_POINTER;
    *device = nullptr;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("devices.item")) return *fault;
      if (index >= devices_.size()) return E_INVALIDARG;
      *device = ComPtr<IMMDevice>(devices_[index]).Detach();
      return S_OK;
    });
  }

 private:
  std::vector<ComPtr<IMMDevice>> devices_;
  std::shared_ptr<FaultPlan> faults_;
};

class DeviceEnumerator final : public CountedObject<IMMDeviceEnumerator> {
 public:
  explicit DeviceEnumerator(std::shared_ptr<SimulatedDevices> devices)
      : devices_(std::move(devices)) {}

  HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD state_mask,
                                               IMMDeviceCollection** devices) override {
    if (devices == nullptr) return E_POINTER;
    *devices = nullptr;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults().Check("devices.enumerate")) return *fault;
      if (flow != eRender && flow != eCapture && flow != eAll) return E_INVALIDARG;
      if ((state_mask & ~DWORD{DEVICE_STATEMASK_ALL}) != 0) return E_INVALIDARG;
      std::vector<ComPtr<IMMDevice>> found;
      for (const SimulatedEndpoint& endpoint : endpoints()) {
        if ((flow == eAll || endpoint.flow == flow) && (endpoint.state & state_mask) != 0)
          found.push_back(MakeDevice(endpoint));
      }
      *devices = new DeviceCollection(std::move(found), devices_->faults);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                    IMMDevice** device) override {
    if (device == nullptr) return E_POINTER;
    *device = nullptr;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults().Check("devices.default_endpoint")) return *fault;
      if (flow != eRender && flow != eCapture) return E_INVALIDARG;
      if (role != eConsole && role != eMultimedia && role != eCommunications) return E_INVALIDARG;
      const SimulatedEndpoint* chosen = nullptr;
      for (const SimulatedEndpoint& endpoint : endpoints()) {
        if (endpoint.flow != flow || endpoint.state != DEVICE_STATE_ACTIVE) continue;
        if (chosen == nullptr || (endpoint.is_default && !chosen->is_default)) chosen = &endpoint;
      }
      if (chosen == nullptr) return orv_apo::kNotFound;
      *device = MakeDevice(*chosen).Detach();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) override {
    if (device == nullptr) return E_POINTER;
    *device = nullptr;
    if (id == nullptr) return E_POINTER;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults().Check("devices.get_device")) return *fault;
      const auto found = std::find_if(
          endpoints().begin(), endpoints().end(),
          [&](const SimulatedEndpoint& endpoint) { return EqualsIgnoringCase(endpoint.id, id); });
      if (found == endpoints().end()) return OpenAdapterDevice(devices_, id, device);
      *device = MakeDevice(*found).Detach();
      return S_OK;
    });
  }

  // Devices of a simulated machine come and go without a notice.
  HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE
  UnregisterEndpointNotificationCallback(IMMNotificationClient*) override {
    return E_NOTIMPL;
  }

 private:
  FaultPlan& faults() const noexcept { return *devices_->faults; }
  const std::vector<SimulatedEndpoint>& endpoints() const noexcept {
    return devices_->description.endpoints;
  }
  ComPtr<IMMDevice> MakeDevice(const SimulatedEndpoint& endpoint) const {
    return ComPtr<IMMDevice>::Adopt(new Device(endpoint, devices_));
  }

  std::shared_ptr<SimulatedDevices> devices_;
};

}  // namespace

HRESULT CreateSimulatedEnumerator(std::shared_ptr<SimulatedDevices> devices,
                                  IMMDeviceEnumerator** enumerator) {
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  return Guard([&]() -> HRESULT {
    if (const auto fault = devices->faults->Check("devices.create_enumerator")) return *fault;
    *enumerator = new DeviceEnumerator(std::move(devices));
    return S_OK;
  });
}

}  // namespace orv
