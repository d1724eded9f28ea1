// The client of the Qualcomm audio driver.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstdint>
#include <memory>
#include <span>

#include "orv_apo/com.h"
#include "platform/machine.h"

namespace orv {

inline constexpr GUID kQualcommInterfaceClass = {
    0x83BF8857, 0x5742, 0x4B77, {0x98, 0x8D, 0x1B, 0x7E, 0x96, 0x04, 0xE9, 0x8D}};
inline constexpr std::uint32_t kQualcommControlCode = 0x90002C00;

class ORVAPOQCDriverInterface : boost::noncopyable {
 public:
  // Opens the first of the driver's interfaces that opens. `status` is 0, or E_FAIL without one.
  ORVAPOQCDriverInterface(Machine& machine, HRESULT& status);
  virtual ~ORVAPOQCDriverInterface() = default;

  // Sends one record in one message. Returns 0 even if the driver refuses the message: it reports
  // nothing that a caller could act on. E_FAIL without a driver, E_OUTOFMEMORY.
  HRESULT SendParameter(std::uint32_t parameter, std::uint32_t form_factor,
                        std::span<const std::byte> payload);

 private:
  static std::unique_ptr<DeviceFile> OpenQCDriver(Machine& machine);

  std::unique_ptr<DeviceFile> device_;
};

}  // namespace orv
