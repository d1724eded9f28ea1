// Device files and named events: how drivers and other processes are reached.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orv {

// System error codes that device requests answer besides 0.
inline constexpr std::uint32_t kDeviceFileNotFound = 2;
inline constexpr std::uint32_t kDeviceAccessDenied = 5;
inline constexpr std::uint32_t kDeviceInvalidHandle = 6;
inline constexpr std::uint32_t kDeviceGenFailure = 31;
inline constexpr std::uint32_t kDeviceInvalidParameter = 87;
inline constexpr std::uint32_t kDeviceMoreData = 234;
inline constexpr std::uint32_t kDeviceNotConnected = 1167;

// An open device. Closed by its destructor; may outlive the machine it came from.
class DeviceFile : boost::noncopyable {
 public:
  virtual ~DeviceFile() = default;

  // One request, answered before the call returns. The driver receives both buffers; for a code
  // with direct output it may read `output` too. `returned` is the number of bytes that the driver
  // reports as written, 0 after a failure. Returns 0 or a system error code.
  virtual std::uint32_t Control(std::uint32_t code, std::span<const std::byte> input,
                                std::span<std::byte> output, std::uint32_t& returned) = 0;

  // The system's handle, for diagnostic lines.
  virtual std::uintptr_t native() const noexcept = 0;
};

// An event that other processes know by its name. Closed by its destructor.
class NamedEvent : boost::noncopyable {
 public:
  virtual ~NamedEvent() = default;

  virtual void Set() noexcept = 0;
  // The handle, as drivers are given it.
  virtual std::uint64_t native() const noexcept = 0;
};

}  // namespace orv
