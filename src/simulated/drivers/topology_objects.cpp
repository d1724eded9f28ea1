#include "simulated/drivers/topology_objects.h"

#include <algorithm>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "simulated/devices/counted_object.h"
#include "simulated/devices/task_memory.h"
#include "simulated/drivers/skylake_filter.h"
#include "simulated/drivers/topology_graph.h"

namespace orv {
namespace {

// What every object of one endpoint's topology stands on.
struct Context {
  std::shared_ptr<SimulatedDevices> devices;
  TopologyGraph graph;
};
using ContextPointer = std::shared_ptr<const Context>;

// A part with its surroundings.
struct PartPlace {
  ContextPointer context;
  std::size_t device;
  std::size_t part;

  const GraphDevice& owner() const { return context->graph.devices[device]; }
  const GraphPart& operator*() const { return owner().parts[part]; }
  const GraphPart* operator->() const { return &**this; }
};

// Runs an operation of an object unless it has been planned to fail.
template <class Body>
HRESULT Operation(const ContextPointer& context, FaultOperation name, Body&& body) noexcept {
  return Guard([&]() -> HRESULT {
    if (const auto fault = context->devices->faults->Check(name)) return *fault;
    return body();
  });
}

IPart* MakePart(PartPlace place);
IDeviceTopology* MakeTopology(const ContextPointer& context, std::size_t device);

class PartsList final : public CountedObject<IPartsList> {
 public:
  explicit PartsList(std::vector<PartPlace> parts) : parts_(std::move(parts)) {}

  HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    return Operation(parts_[0].context, "topology.part_count", [&] {
      *count = static_cast<UINT>(parts_.size());
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE GetPart(UINT index, IPart** part) override {
    if (part == nullptr) return E_POINTER;
    *part = nullptr;
    return Operation(parts_[0].context, "topology.part", [&] {
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
    return Operation(place_.context, "topology.set_selection", [&] {
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

// A subunit, and with IConnector a connector. Here and below, what the component and its tests
// never ask is not implemented.
template <class... Interfaces>
class Part : public CountedObject<IPart, Interfaces...> {
 public:
  explicit Part(PartPlace place) : place_(std::move(place)) {}

  HRESULT STDMETHODCALLTYPE GetName(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetLocalId(UINT* id) override {
    return Give("topology.local_id", id, [&] {
      *id = place_->id;
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE GetGlobalId(LPWSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPartType(PartType*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSubType(GUID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetControlInterfaceCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetControlInterface(UINT, IControlInterface**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE EnumPartsIncoming(IPartsList** parts) override {
    return Give("topology.enum_parts", parts, [&] {
      if (place_->incoming.empty()) return orv_apo::kNotFound;
      std::vector<PartPlace> places;
      places.reserve(place_->incoming.size());
      for (const std::size_t part : place_->incoming)
        places.push_back({place_.context, place_.device, part});
      *parts = new PartsList(std::move(places));
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE EnumPartsOutgoing(IPartsList**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTopologyObject(IDeviceTopology** topology) override {
    return Give("topology.topology_object", topology, [&] {
      *topology = MakeTopology(place_.context, place_.device);
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE Activate(DWORD, REFIID iid, void** object) override {
    return Give("topology.activate", object, [&] {
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
  // Fills an out-parameter, which is zero when that fails.
  template <class Result, class Body>
  HRESULT Give(FaultOperation name, Result* result, Body&& body) const {
    if (result == nullptr) return E_POINTER;
    *result = Result{};
    return Operation(place_.context, name, std::forward<Body>(body));
  }

  const PartPlace place_;
};

class ConnectorPart final : public Part<IConnector> {
 public:
  using Part::Part;

  HRESULT STDMETHODCALLTYPE GetType(ConnectorType* type) override {
    return Give("topology.connector_type", type, [&] {
      *type = place_->connector;
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE GetDataFlow(DataFlow*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ConnectTo(IConnector*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Disconnect() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsConnected(BOOL* connected) override {
    return Give("topology.is_connected", connected, [&] {
      *connected = place_->connected_to ? TRUE : FALSE;
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE GetConnectedTo(IConnector** other) override {
    return Give("topology.connected_to", other, [&] {
      if (!place_->connected_to) return orv_apo::kNotFound;
      *other = new ConnectorPart(
          {place_.context, place_->connected_to->device, place_->connected_to->part});
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
  Topology(ContextPointer context, std::size_t device)
      : context_(std::move(context)), device_(device) {}

  HRESULT STDMETHODCALLTYPE GetConnectorCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetConnector(UINT index, IConnector** connector) override {
    if (connector == nullptr) return E_POINTER;
    *connector = nullptr;
    return Operation(context_, "topology.connector", [&] {
      UINT left = index;
      for (std::size_t i = 0; i < parts().size(); ++i) {
        if (parts()[i].type != Connector || left-- != 0) continue;
        *connector = new ConnectorPart({context_, device_, i});
        return S_OK;
      }
      return E_INVALIDARG;
    });
  }
  HRESULT STDMETHODCALLTYPE GetSubunitCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetSubunit(UINT, ISubunit**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPartById(UINT, IPart**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDeviceId(LPWSTR* id) override {
    if (id == nullptr) return E_POINTER;
    *id = nullptr;
    return Operation(context_, "topology.device_id",
                     [&] { return CopyTaskText(context_->graph.devices[device_].id, id); });
  }
  HRESULT STDMETHODCALLTYPE GetSignalPath(IPart*, IPart*, BOOL, IPartsList**) override {
    return E_NOTIMPL;
  }

 private:
  const std::vector<GraphPart>& parts() const { return context_->graph.devices[device_].parts; }

  const ContextPointer context_;
  const std::size_t device_;
};

IDeviceTopology* MakeTopology(const ContextPointer& context, std::size_t device) {
  return new Topology(context, device);
}

class FilterControl final : public CountedObject<IKsControl> {
 public:
  FilterControl(ContextPointer context, std::size_t device)
      : context_(std::move(context)), device_(device) {}

  HRESULT STDMETHODCALLTYPE KsProperty(PKSPROPERTY property, ULONG property_size, void* data,
                                       ULONG data_size, ULONG* returned) override {
    if (property == nullptr || returned == nullptr) return E_POINTER;
    if (data == nullptr && data_size != 0) return E_POINTER;
    *returned = 0;
    return Operation(context_, "ks.property", [&] {
      if (device_ != TopologyGraph::kWaveFilter) return kKsSetNotFound;
      return AnswerSkylakeProperty(*context_->devices, context_->graph,
                                   {reinterpret_cast<const std::byte*>(property), property_size},
                                   {static_cast<std::byte*>(data), data_size}, *returned);
    });
  }
  HRESULT STDMETHODCALLTYPE KsMethod(KSIDENTIFIER*, ULONG, void*, ULONG, ULONG*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE KsEvent(KSIDENTIFIER*, ULONG, void*, ULONG, ULONG*) override {
    return E_NOTIMPL;
  }

 private:
  const ContextPointer context_;
  const std::size_t device_;
};

class AdapterDevice final : public CountedObject<IMMDevice> {
 public:
  AdapterDevice(ContextPointer context, std::size_t device)
      : context_(std::move(context)), device_(device) {}

  HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD, PROPVARIANT*, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return Operation(context_, "device.activate", [&] {
      if (IsEqualIID(iid, IID_IDeviceTopology)) *object = MakeTopology(context_, device_);
      if (IsEqualIID(iid, IID_IKsControl))
        *object = static_cast<IKsControl*>(new FilterControl(context_, device_));
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
    if (id == nullptr) return E_POINTER;
    *id = nullptr;
    return Operation(context_, "device.get_id",
                     [&] { return CopyTaskText(context_->graph.devices[device_].id, id); });
  }
  HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override {
    if (state == nullptr) return E_POINTER;
    return Operation(context_, "device.get_state", [&] {
      *state = DEVICE_STATE_ACTIVE;
      return S_OK;
    });
  }

 private:
  const ContextPointer context_;
  const std::size_t device_;
};

// The endpoints that the driver plays on, with their ways.
std::vector<ContextPointer> Contexts(const std::shared_ptr<SimulatedDevices>& devices) {
  std::vector<ContextPointer> contexts;
  const auto& driver = devices->description.drivers.skylake;
  if (!driver) return contexts;
  for (const SkylakeEndpoint& endpoint : driver->endpoints)
    contexts.push_back(std::make_shared<Context>(Context{devices, MakeTopologyGraph(endpoint)}));
  return contexts;
}

}  // namespace

HRESULT OpenEndpointTopology(const std::shared_ptr<SimulatedDevices>& devices,
                             const std::wstring& endpoint, void** topology) {
  for (const ContextPointer& context : Contexts(devices)) {
    if (!EqualsIgnoringCase(context->graph.endpoint.id, endpoint)) continue;
    *topology = MakeTopology(context, TopologyGraph::kEndpoint);
    return S_OK;
  }
  return E_NOINTERFACE;
}

HRESULT OpenAdapterDevice(const std::shared_ptr<SimulatedDevices>& devices, const std::wstring& id,
                          IMMDevice** device) {
  for (const ContextPointer& context : Contexts(devices)) {
    for (const std::size_t which : {TopologyGraph::kCodec, TopologyGraph::kWaveFilter}) {
      if (!EqualsIgnoringCase(context->graph.devices[which].id, id)) continue;
      *device = new AdapterDevice(context, which);
      return S_OK;
    }
  }
  return orv_apo::kNotFound;
}

}  // namespace orv
