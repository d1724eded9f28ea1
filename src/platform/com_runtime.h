// The component runtime on the calling thread.
#pragma once

#include "orv_apo/com.h"

namespace orv {

// Initialises the runtime for the calling thread in the multithreaded model and, if that succeeded,
// releases it in the destructor. Fails, without an effect, on a thread that is in an apartment of
// the other model. Threads of the native build need no preparation.
class ComRuntime {
 public:
  ComRuntime(const ComRuntime&) = delete;
  ComRuntime& operator=(const ComRuntime&) = delete;
#ifdef _WIN32
  ComRuntime() noexcept : status_(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ~ComRuntime() {
    if (SUCCEEDED(status_)) ::CoUninitialize();
  }
#else
  ComRuntime() noexcept : status_(S_OK) {}
  ~ComRuntime() {}  // NOLINT(modernize-use-equals-default): objects of this class are not unused
#endif

  HRESULT status() const noexcept { return status_; }

 private:
  HRESULT status_;
};

}  // namespace orv
