// Device interfaces, their files, named events and the drivers of a simulated machine.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/device_io.h"
#include "simulated/devices/simulated_devices.h"

namespace orv {

struct TopologyGraph;

std::vector<std::wstring> SimulatedInterfaces(SimulatedDevices& devices, REFGUID interface_class);

std::unique_ptr<DeviceFile> OpenSimulatedDevice(const std::shared_ptr<SimulatedDevices>& devices,
                                                const std::wstring& path, std::uint32_t& error);

std::unique_ptr<NamedEvent> OpenSimulatedEvent(const std::shared_ptr<SimulatedDevices>& devices,
                                               const std::wstring& name, std::uint32_t& error);

// One I/O control request to a driver that the machine has. Returns 0 or a system error code.
std::uint32_t AnswerBroadwellControl(SimulatedDevices& devices, std::uint32_t code,
                                     std::span<const std::byte> input, std::span<std::byte> output,
                                     std::uint32_t& returned);
std::uint32_t AnswerQualcommControl(SimulatedDevices& devices, std::uint32_t code,
                                    std::span<const std::byte> input, std::span<std::byte> output,
                                    std::uint32_t& returned);

inline constexpr std::uint32_t kDeviceInvalidFunction = 1;
inline constexpr std::uint32_t kDeviceWriteFault = 29;
inline constexpr std::uint32_t kDeviceNotFound = 1168;

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
