// The component runtime on the calling thread.
#pragma once

#include "orv_apo/com.h"

namespace orv {

// Initialises the runtime for the calling thread in the multithreaded model, and takes that back
// when it succeeded. A thread that already is in an apartment of the other model gives a failure
// status and stays as it is.
class ComRuntime {
 public:
  ComRuntime() noexcept;
  ~ComRuntime();  // NOLINT(performance-trivially-destructible): it has work to do on Windows
  ComRuntime(const ComRuntime&) = delete;
  ComRuntime& operator=(const ComRuntime&) = delete;

  HRESULT status() const noexcept { return status_; }

 private:
  HRESULT status_;
};

}  // namespace orv
