// The machine's active render endpoints.
#pragma once

#include <vector>

#include "endpoints/endpoint_info.h"

namespace orv {

class ORVAPOEndpointTools {
 public:
  explicit ORVAPOEndpointTools(Machine& machine) : machine_(machine) {}

  // Replaces the list by the active render endpoints whose Load succeeds, in the platform's order;
  // true when there is one.
  bool EnumerateEndpoints(std::vector<ORVAPOEndpointInfo>& endpoints);

 private:
  Machine& machine_;
};

}  // namespace orv
