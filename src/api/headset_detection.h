// Is a headset plugged in? Some codec drivers leave the answer in the registry; one detector per
// codec vendor knows where.
#pragma once

#include <array>

#include "endpoints/endpoint_info.h"
#include "orv_apo/com.h"

namespace orv {

// One vendor's detector. Whether the endpoint belongs to the vendor is found out once.
struct HeadsetDetection {
  // Returns true if it could decide; `connected` is then 1 or 0.
  using Check = bool (*)(const ORVAPOEndpointInfo& endpoint, LONG& connected,
                         HeadsetDetection& detection);
  Check check;
  bool probed = false;
  bool vendor = false;
};

// In the order in which they are asked.
using HeadsetDetectors = std::array<HeadsetDetection, 3>;
HeadsetDetectors MakeHeadsetDetectors();

}  // namespace orv
