// The way from an endpoint to the wave filter that plays on it: endpoint, codec, wave filter, and
// the parts between.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/device_topology.h"
#include "simulated/drivers/driver_description.h"
#include "simulated/drivers/driver_memory.h"

namespace orv {

enum class SelectorKind { None, Input, Output };

struct GraphPart {
  UINT id;  // local identifier, unique within its device
  PartType type;
  // Positions of neighbours within the device.
  std::vector<std::size_t> incoming = {};
  std::vector<std::size_t> outgoing = {};
  // Of connectors.
  ConnectorType connector = Unknown_Connector;
  struct Place {
    std::size_t device;
    std::size_t part;
  };
  std::optional<Place> connected_to = std::nullopt;
  // Of selectors: the neighbour selected at first, and the one that leads to the endpoint.
  SelectorKind selector = SelectorKind::None;
  std::size_t at_first = 0;
  std::size_t to_endpoint = 0;
};

struct GraphDevice {
  std::wstring id;
  std::vector<GraphPart> parts;
};

struct TopologyGraph {
  static constexpr std::size_t kEndpoint = 0;
  static constexpr std::size_t kCodec = 1;
  static constexpr std::size_t kWaveFilter = 2;

  SkylakeEndpoint endpoint;
  std::vector<GraphDevice> devices;

  UINT Selection(const DriverMemory& memory, std::size_t device, std::size_t part) const;
  std::string SelectionKey(std::size_t device, std::size_t part) const;
  // Which selector keeps the wave filter from the endpoint; empty text when none does.
  std::string RoutingFault(const DriverMemory& memory) const;
};

TopologyGraph MakeTopologyGraph(const SkylakeEndpoint& endpoint);

}  // namespace orv
