// What the processors use of the Broadwell driver's client.
#pragma once

#include <cstdint>

#include "orv_apo/com.h"

namespace orv {

// Every operation answers whether the I/O control succeeded and gives the driver's own status
// besides; callers test both. `apply` is handed to the driver unchanged.
class BroadwellDriver {
 public:
  virtual bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  virtual bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  // System error code of the last I/O control that failed, for diagnostic lines.
  virtual std::uint32_t last_error() const = 0;

 protected:
  ~BroadwellDriver() = default;
};

}  // namespace orv
