#include "properties/thread_basic.h"

#include <exception>
#include <system_error>

namespace orv {
namespace {

constexpr std::uint32_t kExitSuccess = 1;
constexpr std::uint32_t kExitFailure = 0xFFFFFFFF;

// An exception ends the worker, not the host process. Catches only std exceptions: some systems end
// a thread by unwinding it.
std::uint32_t RunWorker(IORVThreadBasicWorker& worker, ORVThreadBasic& holder, Event& stop) {
  try {
    return worker.Run(holder, stop) ? kExitSuccess : kExitFailure;
  } catch (const std::exception&) {
    return kExitFailure;
  }
}

}  // namespace

ORVThreadBasic::~ORVThreadBasic() { Stop(kDefaultStopMilliseconds); }

bool ORVThreadBasic::Start(IORVThreadBasicWorker* worker) {
  if (worker != nullptr) worker_ = worker;
  if (worker_ == nullptr) return false;
  if (thread_ != nullptr && !thread_->Wait(std::chrono::milliseconds(kDefaultStopMilliseconds)))
    return false;
  try {
    stop_ = std::make_shared<Event>(Event::Kind::ManualReset);
  } catch (const std::system_error&) {
    return false;
  }
  thread_ = Thread::Start(
      [this, body = worker_, stop = stop_] { return RunWorker(*body, *this, *stop); });
  return thread_ != nullptr;
}

void ORVThreadBasic::Stop(std::uint32_t timeout_milliseconds) {
  if (thread_ == nullptr) return;
  stop_->Set();
  const std::chrono::milliseconds limit(timeout_milliseconds == 0 ? kDefaultStopMilliseconds
                                                                  : timeout_milliseconds);
  while (!thread_->Wait(limit)) {
    if (timeout_milliseconds == kWaitForEver) continue;
    thread_->Terminate(kExitFailure);
    break;
  }
  thread_.reset();
  worker_ = nullptr;
}

}  // namespace orv
