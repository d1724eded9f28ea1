// The device topology of endpoints, through its COM interfaces.
#include <algorithm>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "simulated/devices/counted_object.h"
#include "simulated/drivers/device_files.h"
#include "simulated/drivers/topology_graph.h"

namespace orv {
namespace {

// What all objects of the topology of one endpoint share.
struct Context {
  std::shared_ptr<SimulatedDevices> devices;
  TopologyGraph graph;
};

// A device of the topology with its surroundings.
struct DevicePlace {
  std::shared_ptr<const Context> context;
  std::size_t device;

  const GraphDevice& operator*() const { return context->graph.devices[device]; }
  const GraphDevice* operator->() const { return &**this; }
  FaultPlan& faults() const { return *context->devices->faults; }
};

// A part of such a device.
struct PartPlace : DevicePlace {
  std::size_t part;

  const GraphPart& operator*() const { return DevicePlace::operator*().parts[part]; }
  const GraphPart* operator->() const { return &**this; }
  const GraphDevice& owner() const { return DevicePlace::operator*(); }
};

IPart* MakePart(PartPlace place);
IDeviceTopology* MakeTopology(DevicePlace place);

class PartsList final : public CountedObject<IPartsList> {
 public:
  explicit PartsList(std::vector<PartPlace> parts) : parts_(std::move(parts)) {}

  HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override {
    return Answer(parts_[0].faults(), "topology.part_count", count, parts_.size());
  }
  HRESULT STDMETHODCALLTYPE GetPart(UINT index, IPart** part) override {
    return Operation(parts_[0].faults(), "topology.part", part, [&] {
      if (index >= parts_.size()) return E_INVALIDARG;
      *part = MakePart(parts_[index]);
      return S_OK;
    });
  }

 private:
  const std::vector<PartPlace> parts_;  // never empty
};

template <class Interface>
class Selector final : public CountedObject<Interface> {
 public:
  explicit Selector(PartPlace place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE GetSelection(UINT*) override { return E_NOTIMPL; }
  // Only a neighbour can be selected.
  HRESULT STDMETHODCALLTYPE SetSelection(UINT id, const GUID*) override {
    return Operation(place_.faults(), "topology.set_selection", [&] {
      std::vector<std::size_t> neighbours = place_->incoming;
      neighbours.insert(neighbours.end(), place_->outgoing.begin(), place_->outgoing.end());
      const auto is_it = [&](std::size_t part) { return place_.owner().parts[part].id == id; };
      if (std::none_of(neighbours.begin(), neighbours.end(), is_it)) return E_INVALIDARG;
      UINT selected = 0;
      if (Selected(selected) && selected == id) return S_OK;
      const bool kept = store().ChangeAtLeastHere([&](DriverMemory& memory) {
        memory.selections[place_.context->graph.SelectionKey(place_.device, place_.part)] = id;
      });
      return kept ? S_OK : kKsWriteFault;
    });
  }

 private:
  DriverStore& store() const { return *place_.context->devices->drivers; }
  bool Selected(UINT& id) const {
    return store().Read([&](const DriverMemory& memory) {
      id = place_.context->graph.Selection(memory, place_.device, place_.part);
    });
  }
  const PartPlace place_;
};

// A subunit, and with IConnector a connector. Here and below, operations that the component
// never calls are not implemented.
template <class... Interfaces>
class Part : public CountedObject<IPart, Interfaces...> {
 public:
  explicit Part(PartPlace place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE GetName(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetLocalId(UINT* id) override {
    return Answer(place_.faults(), "topology.local_id", id, place_->id);
  }
  HRESULT STDMETHODCALLTYPE GetGlobalId(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPartType(PartType*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSubType(GUID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetControlInterfaceCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetControlInterface(UINT, IControlInterface**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE EnumPartsIncoming(IPartsList** parts) override {
    return Operation(place_.faults(), "topology.enum_parts", parts, [&] {
      if (place_->incoming.empty()) return orv_apo::kNotFound;
      std::vector<PartPlace> places;
      places.reserve(place_->incoming.size());
      for (const std::size_t part : place_->incoming) places.push_back({place_, part});
      *parts = new PartsList(std::move(places));
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE EnumPartsOutgoing(IPartsList**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTopologyObject(IDeviceTopology** topology) override {
    return Operation(place_.faults(), "topology.topology_object", topology, [&] {
      *topology = MakeTopology(place_);
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE Activate(DWORD, REFIID iid, void** object) override {
    return Operation(place_.faults(), "topology.activate", object, [&] {
      if (place_->selector == SelectorKind::Input && IsEqualIID(iid, IID_IAudioInputSelector))
        *object = static_cast<IAudioInputSelector*>(new Selector<IAudioInputSelector>(place_));
      if (place_->selector == SelectorKind::Output && IsEqualIID(iid, IID_IAudioOutputSelector))
        *object = static_cast<IAudioOutputSelector*>(new Selector<IAudioOutputSelector>(place_));
      return *object == nullptr ? E_NOINTERFACE : S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE RegisterControlChangeCallback(REFGUID, IControlChangeNotify*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE UnregisterControlChangeCallback(IControlChangeNotify*) override {
    return E_NOTIMPL;
  }

 protected:
  const PartPlace place_;
};

class ConnectorPart final : public Part<IConnector> {
 public:
  using Part::Part;

  HRESULT STDMETHODCALLTYPE GetType(ConnectorType* type) override {
    return Answer(place_.faults(), "topology.connector_type", type, place_->connector);
  }
  HRESULT STDMETHODCALLTYPE GetDataFlow(DataFlow*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ConnectTo(IConnector*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Disconnect() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsConnected(BOOL* connected) override {
    return Answer(place_.faults(), "topology.is_connected", connected,
                  place_->connected_to.has_value());
  }
  HRESULT STDMETHODCALLTYPE GetConnectedTo(IConnector** other) override {
    return Operation(place_.faults(), "topology.connected_to", other, [&] {
      if (!place_->connected_to) return orv_apo::kNotFound;
      const auto [device, part] = *place_->connected_to;
      *other = new ConnectorPart({{place_.context, device}, part});
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE GetConnectorIdConnectedTo(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDeviceIdConnectedTo(LPWSTR*) override { return E_NOTIMPL; }
};

IPart* MakePart(PartPlace place) {
  if (place->type == Connector) return new ConnectorPart(std::move(place));
  return new Part<>(std::move(place));
}

class Topology final : public CountedObject<IDeviceTopology> {
 public:
  explicit Topology(DevicePlace place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE GetConnectorCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetConnector(UINT index, IConnector** connector) override {
    return Operation(place_.faults(), "topology.connector", connector, [&] {
      UINT left = index;
      for (std::size_t i = 0; i < place_->parts.size(); ++i) {
        if (place_->parts[i].type != Connector || left-- != 0) continue;
        *connector = new ConnectorPart({place_, i});
        return S_OK;
      }
      return E_INVALIDARG;
    });
  }
  HRESULT STDMETHODCALLTYPE GetSubunitCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSubunit(UINT, ISubunit**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPartById(UINT, IPart**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDeviceId(LPWSTR* id) override {
    return Operation(place_.faults(), "topology.device_id", id,
                     [&] { return CopyTaskText(place_->id, id); });
  }
  HRESULT STDMETHODCALLTYPE GetSignalPath(IPart*, IPart*, BOOL, IPartsList**) override {
    return E_NOTIMPL;
  }

 private:
  const DevicePlace place_;
};

IDeviceTopology* MakeTopology(DevicePlace place) { return new Topology(std::move(place)); }

class FilterControl final : public KsControlBase {
 public:
  explicit FilterControl(DevicePlace place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE KsProperty(PKSPROPERTY property, ULONG property_size, void* data,
                                       ULONG data_size, ULONG* returned) override {
    if (property == nullptr || (data == nullptr && data_size != 0)) return E_POINTER;
    return Operation(place_.faults(), "ks.property", returned, [&] {
      if (place_.device != TopologyGraph::kWaveFilter) return kKsSetNotFound;
      return AnswerSkylakeProperty(*place_.context->devices, place_.context->graph,
                                   {reinterpret_cast<const std::byte*>(property), property_size},
                                   {static_cast<std::byte*>(data), data_size}, *returned);
    });
  }

 private:
  const DevicePlace place_;
};

class AdapterDevice final : public CountedObject<IMMDevice> {
 public:
  explicit AdapterDevice(DevicePlace place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD, PROPVARIANT*, void** object) override {
    return Operation(place_.faults(), "device.activate", object, [&] {
      if (IsEqualIID(iid, IID_IDeviceTopology)) *object = MakeTopology(place_);
      if (IsEqualIID(iid, IID_IKsControl))
        *object = static_cast<IKsControl*>(new FilterControl(place_));
      return *object == nullptr ? E_NOINTERFACE : S_OK;
    });
  }
  // Adapters of a simulated machine have no properties.
  HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD, IPropertyStore** store) override {
    if (store == nullptr) return E_POINTER;
    *store = nullptr;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override {
    return Operation(place_.faults(), "device.get_id", id,
                     [&] { return CopyTaskText(place_->id, id); });
  }
  HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override {
    return Answer(place_.faults(), "device.get_state", state, DEVICE_STATE_ACTIVE);
  }

 private:
  const DevicePlace place_;
};

// The topology of each endpoint that the driver plays on.
std::vector<std::shared_ptr<const Context>> Contexts(
    const std::shared_ptr<SimulatedDevices>& devices) {
  std::vector<std::shared_ptr<const Context>> contexts;
  if (const auto& driver = devices->description.drivers.skylake)
    for (const SkylakeEndpoint& endpoint : driver->endpoints)
      contexts.push_back(std::make_shared<Context>(Context{devices, MakeTopologyGraph(endpoint)}));
  return contexts;
}

}  // namespace

HRESULT OpenEndpointTopology(const std::shared_ptr<SimulatedDevices>& devices,
                             const std::wstring& endpoint, void** topology) {
  for (const auto& context : Contexts(devices)) {
    if (!EqualsIgnoringCase(context->graph.endpoint.id, endpoint)) continue;
    *topology = MakeTopology({context, TopologyGraph::kEndpoint});
    return S_OK;
  }
  return E_NOINTERFACE;
}

HRESULT OpenAdapterDevice(const std::shared_ptr<SimulatedDevices>& devices, const std::wstring& id,
                          IMMDevice** device) {
  for (const auto& context : Contexts(devices)) {
    for (const std::size_t which : {TopologyGraph::kCodec, TopologyGraph::kWaveFilter}) {
      if (!EqualsIgnoringCase(context->graph.devices[which].id, id)) continue;
      *device = new AdapterDevice({context, which});
      return S_OK;
    }
  }
  return orv_apo::kNotFound;
}

}  // namespace orv
