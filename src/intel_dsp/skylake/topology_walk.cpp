#include "intel_dsp/skylake/topology_walk.h"

#include <utility>

#include "intel_dsp/skylake/driver_client_records.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

// Far beyond real topologies; a walk in circles ends there.
constexpr unsigned kMostConnectors = 16;
constexpr unsigned kDeepestPath = 64;
constexpr unsigned kMostParts = 1024;

constexpr HRESULT kNoMatch = S_FALSE;

// Sets the part's selector, if it has one, to the part that the walk came from. False without one.
template <class Selector>
bool Select(IPart& part, IPart& arrived_from, const wchar_t* done, const wchar_t* failed) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::SelectPath");
  ComPtr<Selector> selector;
  if (FAILED(part.Activate(CLSCTX_ALL, IID_PPV_ARGS(selector.Put())))) return false;
  UINT id = 0;
  if (FAILED(Report(here, L"IPart interface GetLocalId failed! Result: 0x%x",
                    arrived_from.GetLocalId(&id))))
    return true;
  if (SUCCEEDED(Report(here, failed, selector->SetSelection(id, nullptr)))) Diagnose(here, done);
  return true;
}

class TopologyWalk {
 public:
  explicit TopologyWalk(IMMDeviceEnumerator& devices) : devices_(devices) {}

  HRESULT FindWaveFilter(IMMDevice& endpoint, WaveFilter& filter);

 private:
  static HRESULT EndsHere(IConnector& connector, bool& ends);
  // From the connector to the last one of the device that it is connected to.
  HRESULT NextConnector(ComPtr<IConnector>& connector);
  HRESULT WalkParts(IPart& part, unsigned depth, ComPtr<IPart>& last);
  static void SelectPath(IPart& part, IPart& arrived_from);
  HRESULT ReadFilter(IPart& last);
  void ReadOffloadPin(IMMDevice& device);

  IMMDeviceEnumerator& devices_;
  WaveFilter filter_;
  unsigned parts_left_ = kMostParts;
};

HRESULT TopologyWalk::FindWaveFilter(IMMDevice& endpoint, WaveFilter& filter) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::FindWaveFilter");
  ComPtr<IDeviceTopology> topology;
  HRESULT status = endpoint.Activate(IID_IDeviceTopology, CLSCTX_ALL, nullptr, topology.PutVoid());
  if (FAILED(status)) return status;
  ComPtr<IConnector> connector;
  status = Report(here, L"GetConnector failed! 0x%x", topology->GetConnector(0, connector.Put()));
  if (FAILED(status)) return status;
  for (unsigned i = 0; i < kMostConnectors; ++i) {
    Diagnose(here, L"--- next connector ---");
    bool ends = false;
    status = EndsHere(*connector, ends);
    if (FAILED(status)) return status;
    if (ends) {
      Diagnose(here, L"End of connectors. Found Software_IO.");
      if (filter_.device_id.empty()) return kNoMatch;
      filter = std::move(filter_);
      return S_OK;
    }
    status = NextConnector(connector);
    if (status != S_OK) return status;
  }
  return E_FAIL;
}

HRESULT TopologyWalk::EndsHere(IConnector& connector, bool& ends) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::EndsHere");
  BOOL connected = FALSE;
  HRESULT status =
      Report(here, L"Connector IsConnected failed! 0x%x", connector.IsConnected(&connected));
  if (FAILED(status)) return status;
  ConnectorType type = Unknown_Connector;
  status = Report(here, L"Connector GetType failed! 0x%x", connector.GetType(&type));
  ends = connected == FALSE && type == Software_IO;
  return status;
}

HRESULT TopologyWalk::NextConnector(ComPtr<IConnector>& connector) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::NextConnector");
  ComPtr<IConnector> other;
  HRESULT status = Report(here, L"Connector GetConnectedTo failed! 0x%x",
                          connector->GetConnectedTo(other.Put()));
  if (FAILED(status)) return status;
  Diagnose(here, L"Connector Conexant Crash location is passed! ");
  ComPtr<IPart> part;
  status = Report(here, L"Failed to query next connector IPart interface! 0x%x",
                  other->QueryInterface(IID_IPart, part.PutVoid()));
  if (FAILED(status)) return status;
  ComPtr<IPart> last;
  status = WalkParts(*part, 0, last);
  if (status != S_OK) return status;
  connector = last.As<IConnector>();
  return connector ? S_OK : kNoMatch;
}

HRESULT TopologyWalk::WalkParts(IPart& part, unsigned depth, ComPtr<IPart>& last) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::WalkParts");
  if (depth == kDeepestPath || parts_left_ == 0) return E_FAIL;
  --parts_left_;
  ComPtr<IPartsList> parts;
  HRESULT status = part.EnumPartsIncoming(parts.Put());
  UINT count = 0;
  if (status == orv_apo::kNotFound) {
    Diagnose(here, L"EnumParts failed. Result: 0x%x This is error is expected.", status);
  } else if (FAILED(Report(here, L"EnumParts failed. Result: 0x%x", status))) {
    return status;
  } else {
    status = Report(here, L"Failed to retrieve count of the outgoing/incoming parts! Result: 0x%x",
                    parts->GetCount(&count));
    if (FAILED(status)) return status;
    if (count == 0) Diagnose(here, L"No parts were found!");
  }
  if (count == 0) {
    Diagnose(here, L"End of parts; replacing connector");
    last = ComPtr<IPart>(&part);
    return ReadFilter(part);
  }
  for (UINT i = 0; i < count; ++i) {
    ComPtr<IPart> next;
    status = Report(here, L"Failed to retrieve next part from incoming parts! Result: 0x%x",
                    parts->GetPart(i, next.Put()));
    if (FAILED(status)) return status;
    SelectPath(*next, part);
    status = WalkParts(*next, depth + 1, last);
    if (status == S_OK || parts_left_ == 0) return status;
  }
  return status;
}

// A selector that refuses does not end the walk.
void TopologyWalk::SelectPath(IPart& part, IPart& arrived_from) {
  if (!Select<IAudioInputSelector>(part, arrived_from, L"Input selector activated",
                                   L"Failed to select input selector! Result: 0x%x"))
    Select<IAudioOutputSelector>(part, arrived_from, L"Output selector activated",
                                 L"Failed to select output selector! Result: 0x%x");
}

// The last part of a path has the device that it belongs to, and the node that takes requests.
HRESULT TopologyWalk::ReadFilter(IPart& last) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::ReadFilter");
  ComPtr<IDeviceTopology> topology;
  HRESULT status = Report(here, L"GetTopologyObject failed! Result: 0x%x",
                          last.GetTopologyObject(topology.Put()));
  if (FAILED(status)) return status;
  std::wstring id;
  status = Report(here, L"GetDeviceId failed! Result: 0x%x",
                  ReadTaskText(*topology, &IDeviceTopology::GetDeviceId, id));
  if (FAILED(status)) return status;
  ComPtr<IMMDevice> device;
  status =
      Report(here, L"GetDevice failed! Result: 0x%x", devices_.GetDevice(id.c_str(), device.Put()));
  if (FAILED(status)) return status;
  filter_.device_id = id;
  UINT part_id = 0;
  Report(here, L"Warning, failed to retrieve node id! Result: 0x%x", last.GetLocalId(&part_id));
  filter_.node = static_cast<std::uint16_t>(part_id & 0xFFFF);
  ReadOffloadPin(*device);
  return S_OK;
}

void TopologyWalk::ReadOffloadPin(IMMDevice& device) {
  const DiagnosticSite here = ORV_HERE("TopologyWalk::ReadOffloadPin");
  Diagnose(here, L"Trying to read offload pin id...");
  const NodeProperty request = {kAudioEngineSet, kAudioEngineDescriptor, kGetFromNode, filter_.node,
                                0};
  EngineDescriptor pins = {};
  ComPtr<IKsControl> control;
  HRESULT status = device.Activate(IID_IKsControl, CLSCTX_ALL, nullptr, control.PutVoid());
  if (SUCCEEDED(status)) status = GetProperty(*control, request, pins);
  if (SUCCEEDED(Report(here, L"Warning, failed to retrieve pin id! Result: 0x%x", status)))
    Diagnose(here, L"Using pin id: %d", pins.offload_pin);
}

}  // namespace

HRESULT FindWaveFilter(IMMDeviceEnumerator& devices, IMMDevice& endpoint, WaveFilter& filter) {
  return TopologyWalk(devices).FindWaveFilter(endpoint, filter);
}

}  // namespace orv::skylake
