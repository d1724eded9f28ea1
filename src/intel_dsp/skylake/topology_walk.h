// The path from an endpoint to the wave filter behind it, over the device topology.
#pragma once

#include <cstdint>
#include <string>

#include "platform/com_ptr.h"
#include "platform/device_topology.h"

namespace orv::skylake {

struct WaveFilter {
  std::wstring device_id;
  std::uint16_t node = 0;  // where the filter's requests are addressed
};

// Follows connectors and parts against the stream, from the endpoint to the connector that software
// streams into, and sets the selectors on its way so that the path leads through them. A topology
// without an end is a failure.
class TopologyWalk {
 public:
  explicit TopologyWalk(IMMDeviceEnumerator& devices) : devices_(devices) {}

  // S_OK with the filter; S_FALSE when the path ends elsewhere; a failure.
  HRESULT FindWaveFilter(IMMDevice& endpoint, WaveFilter& filter);

 private:
  HRESULT EndsHere(IConnector& connector, bool& ends);
  // From the connector to the last one of the device that it is connected to.
  HRESULT NextConnector(ComPtr<IConnector>& connector);
  HRESULT WalkParts(IPart& part, unsigned depth, ComPtr<IPart>& last);
  void SelectPath(IPart& part, IPart& arrived_from);
  HRESULT ReadFilter(IPart& last);
  void ReadOffloadPin(IMMDevice& device);

  IMMDeviceEnumerator& devices_;
  WaveFilter filter_;
  unsigned parts_left_ = 0;
};

}  // namespace orv::skylake

namespace orv {

using skylake::TopologyWalk;
using skylake::WaveFilter;

}  // namespace orv
