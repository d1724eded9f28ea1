// The Skylake driver behind a wave filter: its property requests, taken byte for byte.
#pragma once

#include <memory>

#include "simulated/devices/simulated_devices.h"
#include "simulated/drivers/topology_graph.h"

namespace orv {

// Status codes of kernel-streaming requests.
inline constexpr HRESULT kKsSetNotFound = static_cast<HRESULT>(0x80070492);
inline constexpr HRESULT kKsPropertyNotFound = static_cast<HRESULT>(0x80070490);
inline constexpr HRESULT kKsMoreData = static_cast<HRESULT>(0x800700EA);
inline constexpr HRESULT kKsBufferTooSmall = static_cast<HRESULT>(0x8007007A);
inline constexpr HRESULT kKsInvalidParameter = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT kKsNotReady = static_cast<HRESULT>(0x80070015);
inline constexpr HRESULT kKsWriteFault = static_cast<HRESULT>(0x8007001D);

// One request to the wave filter at the end of the graph. `data` may be empty.
HRESULT AnswerSkylakeProperty(SimulatedDevices& devices, const TopologyGraph& graph,
                              std::span<const std::byte> property, std::span<std::byte> data,
                              ULONG& returned);

}  // namespace orv
