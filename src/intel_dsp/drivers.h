// The interfaces of the drivers' clients that the writers of parameter blocks use.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "orv_apo/com.h"

namespace orv {

// S_OK or the driver's own positive status if the call succeeded, else a failure.
constexpr HRESULT StatusOf(bool succeeded, HRESULT status) noexcept {
  return succeeded || FAILED(status) ? status : E_FAIL;
}

// The text of a record, up to its first zero or its end.
template <std::size_t N>
std::string TextOf(const char (&text)[N]) {
  return std::string(text, std::find(text, text + N, '\0'));
}

// Every operation returns whether the driver call succeeded, and the driver's own status (negative:
// refused) in `status`; callers test both. `apply` is passed to the driver unchanged.
class IntelDriver {
 public:
  virtual bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;
  virtual bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                            std::uint32_t size, std::uint8_t apply) = 0;

 protected:
  ~IntelDriver() = default;
};

class SkylakeDriver : public IntelDriver {
 public:
  virtual bool GetStatus(HRESULT& status, std::uint8_t& enabled, std::uint8_t apply) = 0;
  virtual bool SetStatus(HRESULT& status, std::uint8_t enable, std::uint8_t apply) = 0;

 protected:
  ~SkylakeDriver() = default;
};

class BroadwellDriver : public IntelDriver {
 public:
  // Whether the driver reported fewer bytes than the last GetParameter requested; the missing bytes
  // read as zeros. False if the driver reports no count at all.
  virtual bool short_answer() const { return false; }
  // System error code of the last request, for diagnostic lines; 0 if its I/O control succeeded.
  virtual std::uint32_t last_error() const = 0;

 protected:
  ~BroadwellDriver() = default;
};

}  // namespace orv
