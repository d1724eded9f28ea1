#include "simulated/drivers/topology_graph.h"

#include <fmt/format.h>

#include "platform/text.h"

namespace orv {
namespace {

// Local identifiers: connectors and subunits count apart, in the high word.
constexpr UINT kConnectorId = 0x20000;
constexpr UINT kSubunitId = 0x10000;

GraphPart MakeConnector(UINT id, ConnectorType type,
                        std::optional<GraphPart::Place> connected_to = std::nullopt) {
  return {.id = id, .type = Connector, .connector = type, .connected_to = connected_to};
}

GraphPart MakeSubunit(UINT number) { return {.id = kSubunitId + number, .type = Subunit}; }

GraphPart MakeSelector(UINT number, SelectorKind kind, std::size_t at_first,
                       std::size_t to_endpoint) {
  return {.id = kSubunitId + number,
          .type = Subunit,
          .selector = kind,
          .at_first = at_first,
          .to_endpoint = to_endpoint};
}

void Join(GraphDevice& device, std::size_t upstream, std::size_t downstream) {
  device.parts[upstream].outgoing.push_back(downstream);
  device.parts[downstream].incoming.push_back(upstream);
}

// From the bridge over both selectors to the endpoint's jack, and a second jack beside it that is
// selected at first.
GraphDevice MakeCodec(const std::wstring& id) {
  enum : std::size_t { kJack, kOtherJack, kVolume, kOutput, kMute, kInput, kBridge };
  GraphDevice codec{id, {}};
  codec.parts = {
      MakeConnector(kConnectorId + 2, Physical_External, {{TopologyGraph::kEndpoint, 0}}),
      MakeConnector(kConnectorId + 3, Physical_External),
      MakeSubunit(4),
      MakeSelector(2, SelectorKind::Output, kOtherJack, kVolume),
      MakeSubunit(3),
      MakeSelector(1, SelectorKind::Input, kBridge, kMute),
      MakeConnector(kConnectorId, Physical_Internal, {{TopologyGraph::kWaveFilter, 0}})};
  Join(codec, kBridge, kInput);
  Join(codec, kInput, kMute);
  Join(codec, kMute, kOutput);
  Join(codec, kOutput, kVolume);
  Join(codec, kOutput, kOtherJack);
  Join(codec, kVolume, kJack);
  return codec;
}

GraphDevice MakeWaveFilter(const std::wstring& id, UINT node) {
  enum : std::size_t { kBridge, kEngine, kHost };
  // Out of the way of the host connector, whose number is the node's.
  constexpr UINT kBridgeId = 0x30000;
  GraphDevice filter{id, {}};
  filter.parts = {MakeConnector(kBridgeId, Physical_Internal, {{TopologyGraph::kCodec, 6}}),
                  MakeSubunit(1), MakeConnector(kConnectorId + node, Software_IO)};
  Join(filter, kHost, kEngine);
  Join(filter, kEngine, kBridge);
  return filter;
}

}  // namespace

TopologyGraph MakeTopologyGraph(const SkylakeEndpoint& endpoint) {
  const std::wstring adapter = L"{2}.\\\\?\\sst#" + endpoint.id;
  GraphDevice device{endpoint.id, {}};
  device.parts = {MakeConnector(kConnectorId, Physical_External, {{TopologyGraph::kCodec, 0}})};
  if (endpoint.circles) {
    device.parts[0].connector = Software_IO;
    device.parts[0].connected_to = {TopologyGraph::kEndpoint, 0};
    device.parts[0].incoming.assign(*endpoint.circles, 0);
  }
  return {endpoint,
          {std::move(device), MakeCodec(adapter + L"\\topology"),
           MakeWaveFilter(adapter + L"\\wave", endpoint.node)}};
}

std::string TopologyGraph::SelectionKey(std::size_t device, std::size_t part) const {
  return fmt::format("{}/0x{:X}", Utf8FromWide(devices[device].id), devices[device].parts[part].id);
}

UINT TopologyGraph::Selection(const DriverMemory& memory, std::size_t device,
                              std::size_t part) const {
  const GraphDevice& owner = devices[device];
  const auto chosen = memory.selections.find(SelectionKey(device, part));
  return chosen != memory.selections.end() ? chosen->second
                                           : owner.parts[owner.parts[part].at_first].id;
}

std::string TopologyGraph::RoutingFault(const DriverMemory& memory) const {
  const GraphDevice& codec = devices[kCodec];
  for (std::size_t i = 0; i < codec.parts.size(); ++i) {
    const GraphPart& part = codec.parts[i];
    if (part.selector == SelectorKind::None) continue;
    const UINT wanted = codec.parts[part.to_endpoint].id;
    if (Selection(memory, kCodec, i) == wanted) continue;
    return fmt::format("selector 0x{:X} on the way to the endpoint does not select part 0x{:X}",
                       part.id, wanted);
  }
  return {};
}

}  // namespace orv
