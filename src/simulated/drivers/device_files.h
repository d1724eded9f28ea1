// Device interfaces, their files, and named events of a simulated machine.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/device_io.h"
#include "simulated/devices/simulated_devices.h"

namespace orv {

std::vector<std::wstring> SimulatedInterfaces(SimulatedDevices& devices, REFGUID interface_class);

std::unique_ptr<DeviceFile> OpenSimulatedDevice(const std::shared_ptr<SimulatedDevices>& devices,
                                                const std::wstring& path, std::uint32_t& error);

std::unique_ptr<NamedEvent> OpenSimulatedEvent(const std::shared_ptr<SimulatedDevices>& devices,
                                               const std::wstring& name, std::uint32_t& error);

// One I/O control request to a driver that the machine has. Answers 0 or a system error code.
std::uint32_t AnswerBroadwellControl(SimulatedDevices& devices, std::uint32_t code,
                                     std::span<const std::byte> input, std::span<std::byte> output,
                                     std::uint32_t& returned);
std::uint32_t AnswerQualcommControl(SimulatedDevices& devices, std::uint32_t code,
                                    std::span<const std::byte> input, std::span<std::byte> output,
                                    std::uint32_t& returned);

inline constexpr std::uint32_t kDeviceInvalidFunction = 1;
inline constexpr std::uint32_t kDeviceWriteFault = 29;
inline constexpr std::uint32_t kDeviceNotFound = 1168;

}  // namespace orv
