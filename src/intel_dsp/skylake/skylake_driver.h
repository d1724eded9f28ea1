// What the parameter blocks use of the Skylake driver's client.
#pragma once

#include <cstdint>

#include "orv_apo/com.h"

namespace orv {

// S_OK or the driver's own positive status if the call succeeded, else a failure.
constexpr HRESULT StatusOf(bool succeeded, HRESULT status) noexcept {
  return succeeded || FAILED(status) ? status : E_FAIL;
}

// Every operation returns whether the driver call succeeded, and the driver's own status
// (negative: refused) in `status`. `apply` is passed to the driver unchanged.
class SkylakeDriver {
 public:
  virtual bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  virtual bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  virtual bool GetStatus(HRESULT& status, std::uint8_t& enabled, std::uint8_t apply) = 0;
  virtual bool SetStatus(HRESULT& status, std::uint8_t enable, std::uint8_t apply) = 0;

 protected:
  ~SkylakeDriver() = default;
};

}  // namespace orv
