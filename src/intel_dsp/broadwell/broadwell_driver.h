// What the processors use of the Broadwell driver's client.
#pragma once

#include <cstdint>

#include "orv_apo/com.h"

namespace orv {

// Every operation returns whether the I/O control succeeded, and the driver's own status in
// `status`; callers test both. `apply` is passed to the driver unchanged.
class BroadwellDriver {
 public:
  virtual bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  virtual bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  // Whether the driver reported fewer bytes than the last GetParameter asked for: what it left out
  // reads as zeros. A driver that reports no count at all is believed.
  virtual bool short_answer() const { return false; }
  // System error code of the last request, for diagnostic lines; 0 if its I/O control succeeded.
  virtual std::uint32_t last_error() const = 0;

 protected:
  ~BroadwellDriver() = default;
};

}  // namespace orv
