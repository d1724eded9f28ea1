// A failing status on its way out of the playback thread's steps.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

#include "orv_apo/com.h"

namespace orv {

class HRException : public std::runtime_error {
 public:
  explicit HRException(HRESULT status) : std::runtime_error(Text(status)), status_(status) {}

  HRESULT status() const noexcept { return status_; }

  static void ThrowIfFailed(HRESULT status) {
    if (FAILED(status)) throw HRException(status);
  }

 private:
  static std::string Text(HRESULT status) {
    char text[32];
    std::snprintf(text, sizeof text, "HR error: 0x%x", static_cast<unsigned>(status));
    return text;
  }

  HRESULT status_;
};

}  // namespace orv
