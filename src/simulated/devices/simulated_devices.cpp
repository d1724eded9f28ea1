#include "simulated/devices/simulated_devices.h"

#include <vector>

#include "platform/audio_client.h"
#include "platform/com_ptr.h"
#include "platform/device_topology.h"
#include "platform/text.h"
#include "simulated/devices/counted_object.h"

namespace orv {
namespace {

constexpr PROPERTYKEY kFormFactorKey = {
    {0x1DA5D803, 0xD492, 0x4EDD, {0x8C, 0x23, 0xE0, 0xC0, 0xFF, 0xEE, 0x7F, 0x0E}}, 0};
// The platform's answer to a change of a store that was opened for reading (storage access denied).
constexpr HRESULT kStoreAccessDenied = static_cast<HRESULT>(0x80030005);

HRESULT CopyProperty(const SimulatedProperty& property, PROPVARIANT* value) noexcept {
  if (property.type == VT_UI4) {
    value->ulVal = property.number;
  } else if (property.type == VT_LPWSTR) {
    value->pwszVal = TaskCopy(property.text.c_str(), property.text.size() + 1);
    if (value->pwszVal == nullptr) return E_OUTOFMEMORY;
  } else if (property.type == VT_BLOB) {
    value->blob.pBlobData = TaskCopy(property.blob.data(), property.blob.size());
    if (value->blob.pBlobData == nullptr) return E_OUTOFMEMORY;
    value->blob.cbSize = static_cast<ULONG>(property.blob.size());
  } else {
    return S_OK;
  }
  value->vt = property.type;
  return S_OK;
}

// The properties of an endpoint in their order; the form factor is last if the description does not
// list it. Read-only.
class EndpointStore final : public CountedObject<IPropertyStore> {
 public:
  EndpointStore(const SimulatedEndpoint& endpoint, std::shared_ptr<FaultPlan> faults)
      : properties_(endpoint.properties), faults_(std::move(faults)) {
    if (Find(kFormFactorKey) != nullptr) return;
    properties_.push_back({kFormFactorKey, VT_UI4, {}, endpoint.form_factor, {}});
  }

  HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) override {
    return Answer(*faults_, "store.count", count, properties_.size());
  }

  HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) override {
    return Operation(*faults_, "store.get_at", key, [&]() -> HRESULT {
      if (index >= properties_.size()) return E_INVALIDARG;
      *key = properties_[index].key;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetValue(const PROPERTYKEY& key, PROPVARIANT* value) override {
    return Operation(*faults_, "store.get_value", value, [&]() -> HRESULT {
      const SimulatedProperty* property = Find(key);
      return property == nullptr ? S_OK : CopyProperty(*property, value);
    });
  }

  HRESULT STDMETHODCALLTYPE SetValue(const PROPERTYKEY&, const PROPVARIANT&) override {
    return kStoreAccessDenied;
  }
  HRESULT STDMETHODCALLTYPE Commit() override { return kStoreAccessDenied; }

 private:
  const SimulatedProperty* Find(const PROPERTYKEY& key) const noexcept {
    for (const SimulatedProperty& property : properties_)
      if (IsEqualGUID(property.key.fmtid, key.fmtid) && property.key.pid == key.pid)
        return &property;
    return nullptr;
  }

  std::vector<SimulatedProperty> properties_;
  std::shared_ptr<FaultPlan> faults_;
};

class Device final : public CountedObject<IMMDevice, IMMEndpoint> {
 public:
  Device(SimulatedEndpoint endpoint, std::shared_ptr<SimulatedDevices> devices)
      : endpoint_(std::move(endpoint)), devices_(std::move(devices)), faults_(devices_->faults) {}

  HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD, PROPVARIANT*, void** object) override {
    return Operation(*faults_, "device.activate", object, [&]() -> HRESULT {
      if (iid == IID_IAudioClient)
        return ActivateSimulatedAudioClient(*devices_, endpoint_, object);
      if (iid == IID_IDeviceTopology) return OpenEndpointTopology(devices_, endpoint_.id, object);
      return E_NOINTERFACE;
    });
  }

  HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) override {
    return Operation(*faults_, "device.open_store", store, [&]() -> HRESULT {
      if (access != STGM_READ) return E_ACCESSDENIED;
      *store = new EndpointStore(endpoint_, faults_);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override {
    return Operation(*faults_, "device.get_id", id,
                     [&]() -> HRESULT { return CopyTaskText(endpoint_.id, id); });
  }

  HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override {
    return Answer(*faults_, "device.get_state", state, endpoint_.state);
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
    return Answer(*faults_, "devices.count", count, devices_.size());
  }

  HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override {
    return Operation(*faults_, "devices.item", device, [&]() -> HRESULT {
      if (index >= devices_.size()) return E_INVALIDARG;
      *device = ComPtr<IMMDevice>(devices_[index]).Detach();
      return S_OK;
    });
  }

 private:
  std::vector<ComPtr<IMMDevice>> devices_;
  std::shared_ptr<FaultPlan> faults_;
};

class DeviceEnumerator final : public DeviceEnumeratorBase {
 public:
  explicit DeviceEnumerator(std::shared_ptr<SimulatedDevices> devices)
      : devices_(std::move(devices)) {}

  HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD state_mask,
                                               IMMDeviceCollection** devices) override {
    return Operation(faults(), "devices.enumerate", devices, [&]() -> HRESULT {
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
    return Operation(faults(), "devices.default_endpoint", device, [&]() -> HRESULT {
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
    return Operation(faults(), "devices.get_device", device, [&]() -> HRESULT {
      if (id == nullptr) return E_POINTER;
      for (const SimulatedEndpoint& endpoint : endpoints()) {
        if (!EqualsIgnoringCase(endpoint.id, id)) continue;
        *device = MakeDevice(endpoint).Detach();
        return S_OK;
      }
      return OpenAdapterDevice(devices_, id, device);
    });
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
  FaultPlan& faults = *devices->faults;
  return Operation(faults, "devices.create_enumerator", enumerator, [&] {
    *enumerator = new DeviceEnumerator(std::move(devices));
    return S_OK;
  });
}

}  // namespace orv
