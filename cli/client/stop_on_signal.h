// Ending a command that runs until it is interrupted.
#pragma once

#include "platform/synchronization.h"

namespace orv::cli {

// While it lives, interrupt and termination requests set the event instead of ending the program.
// One at a time.
class StopOnSignal {
 public:
  explicit StopOnSignal(Event& stop);
  ~StopOnSignal();
  StopOnSignal(const StopOnSignal&) = delete;
  StopOnSignal& operator=(const StopOnSignal&) = delete;
};

}  // namespace orv::cli
