// A worker thread with its stop event.
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/synchronization.h"

namespace orv {

class ORVThreadBasic;

class IORVThreadBasicWorker {
 public:
  virtual ~IORVThreadBasicWorker() = default;
  // The thread's body. Must return when the stop event is signalled.
  virtual bool Run(ORVThreadBasic& thread, Event& stop) = 0;
};

// Holds one thread at a time. Start and Stop are called by the owner, one at a time, or from the
// worker itself. Holder and worker outlive the thread: neither is destroyed by the worker.
class ORVThreadBasic {
 public:
  static constexpr std::uint32_t kDefaultStopMilliseconds = 5000;
  static constexpr std::uint32_t kWaitForEver = 0xFFFFFFFF;

  ORVThreadBasic() = default;
  virtual ~ORVThreadBasic();  // stops the thread
  ORVThreadBasic(const ORVThreadBasic&) = delete;
  ORVThreadBasic& operator=(const ORVThreadBasic&) = delete;

  // Runs the worker (or, with none, the one given before) on a new thread. The caller has stopped
  // an earlier thread. False when there is no worker or no thread could be started. Exit code of
  // the thread: 1 when the worker returned true, else 0xFFFFFFFF.
  virtual bool Start(IORVThreadBasicWorker* worker);
  // Signals the stop event and waits; a thread that has not ended in time (0 means 5000 ms,
  // kWaitForEver never gives up) is terminated wherever it is. The holder then has no thread and no
  // worker, and can be started again. Called by the worker itself it only signals: the thread ends
  // when the worker returns, which the next Stop by another thread (or the destructor) waits for.
  virtual void Stop(std::uint32_t timeout_milliseconds);

  // True from Start until Stop, also after the worker has returned.
  bool running() const;

 private:
  struct RunningThread {
    std::shared_ptr<Event> stop;
    std::unique_ptr<Thread> thread;
    bool stopping = false;
  };
  std::shared_ptr<RunningThread> NextStopping() const;
  void Forget(const std::shared_ptr<RunningThread>& ended);

  mutable std::mutex lock_;
  // The last one is the holder's thread unless it is stopping; earlier ones were stopped by their
  // own worker and may not have ended yet.
  std::vector<std::shared_ptr<RunningThread>> threads_;
  IORVThreadBasicWorker* worker_ = nullptr;
};

}  // namespace orv
