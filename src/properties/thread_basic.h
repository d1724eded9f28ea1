// A worker thread with its stop event.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <chrono>
#include <memory>

#include "platform/synchronization.h"

namespace orv {

class ORVThreadBasic;

class IORVThreadBasicWorker {
 public:
  virtual ~IORVThreadBasicWorker() = default;
  // The thread's body. Must return when the stop event is signalled. Does not call Start or Stop.
  virtual bool Run(ORVThreadBasic& thread, Event& stop) = 0;
};

// Holds one thread at a time. The owner calls Start and Stop, one at a time and not on the holder's
// thread. Holder and worker outlive the thread.
class ORVThreadBasic : boost::noncopyable {
 public:
  static constexpr std::uint32_t kDefaultStopMilliseconds = 5000;
  static constexpr std::uint32_t kWaitForEver = 0xFFFFFFFF;

  virtual ~ORVThreadBasic();  // stops the thread

  // Runs the worker on a new thread; null runs the worker of the last Start. Does not stop an
  // earlier thread, but waits up to 5000 ms for its end. False if there is no worker, if the
  // earlier thread still runs, or if the system cannot start a thread. Exit code of the thread: 1
  // if the worker returned true, else 0xFFFFFFFF.
  virtual bool Start(IORVThreadBasicWorker* worker);
  // Signals the stop event and waits; a thread that has not ended in time (0 means 5000 ms,
  // kWaitForEver never gives up) is terminated wherever it is. The holder then has no thread and no
  // worker, and can be started again.
  virtual void Stop(std::uint32_t timeout_milliseconds);

 private:
  std::shared_ptr<Event> stop_;  // shared with the thread, which may outlast a failed termination
  std::unique_ptr<Thread> thread_;
  IORVThreadBasicWorker* worker_ = nullptr;
};

}  // namespace orv
