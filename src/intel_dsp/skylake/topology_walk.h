// The path from an endpoint to its wave filter, over the device topology.
#pragma once

#include <cstdint>
#include <string>

#include "platform/device_topology.h"

namespace orv::skylake {

struct WaveFilter {
  std::wstring device_id;
  std::uint16_t node = 0;  // where the filter's requests are addressed
};

// Follows connectors and parts against the stream, from the endpoint to the connector that software
// streams into, and sets the selectors on its way so that the path leads through them. S_OK with
// the filter; S_FALSE if the path ends elsewhere; a failure, also for a topology without an end.
HRESULT FindWaveFilter(IMMDeviceEnumerator& devices, IMMDevice& endpoint, WaveFilter& filter);

}  // namespace orv::skylake
