#include "properties/thread_basic.h"

#include <algorithm>
#include <exception>
#include <system_error>

namespace orv {
namespace {

constexpr std::uint32_t kExitSuccess = 1;
constexpr std::uint32_t kExitFailure = 0xFFFFFFFF;

// An exception ends the worker, not the host process. Only std exceptions: a system that ends
// threads by unwinding them must not be held up.
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
  const std::lock_guard guard(lock_);
  if (worker != nullptr) worker_ = worker;
  if (worker_ == nullptr) return false;
  std::erase_if(threads_, [](const std::shared_ptr<RunningThread>& running) {
    return running->stopping && running->thread->Wait(std::chrono::milliseconds(0));
  });
  threads_.reserve(threads_.size() + 1);
  auto running = std::make_shared<RunningThread>();
  try {
    running->stop = std::make_shared<Event>(Event::Kind::ManualReset);
  } catch (const std::system_error&) {
    return false;
  }
  // The worker may call Stop at once; it then waits for the lock, and finds its thread entered.
  running->thread = Thread::Start(
      [this, body = worker_, stop = running->stop] { return RunWorker(*body, *this, *stop); });
  if (running->thread == nullptr) return false;
  threads_.push_back(std::move(running));
  return true;
}

void ORVThreadBasic::Stop(std::uint32_t timeout_milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto deadline =
      Clock::now() + std::chrono::milliseconds(timeout_milliseconds == 0 ? kDefaultStopMilliseconds
                                                                         : timeout_milliseconds);
  {
    const std::lock_guard guard(lock_);
    if (threads_.empty()) return;
    worker_ = nullptr;
    bool own = false;
    for (const auto& running : threads_) {
      running->stopping = true;
      running->stop->Set();
      own = own || running->thread->IsCurrent();
    }
    if (own) return;
  }
  while (const auto running = NextStopping()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (!running->thread->Wait(std::max(left, std::chrono::milliseconds(0)))) {
      if (timeout_milliseconds == kWaitForEver) continue;
      running->thread->Terminate(kExitFailure);
    }
    Forget(running);
  }
}

bool ORVThreadBasic::running() const {
  const std::lock_guard guard(lock_);
  return !threads_.empty() && !threads_.back()->stopping;
}

std::shared_ptr<ORVThreadBasic::RunningThread> ORVThreadBasic::NextStopping() const {
  const std::lock_guard guard(lock_);
  const auto found = std::find_if(threads_.begin(), threads_.end(),
                                  [](const auto& running) { return running->stopping; });
  return found == threads_.end() ? nullptr : *found;
}

void ORVThreadBasic::Forget(const std::shared_ptr<RunningThread>& ended) {
  const std::lock_guard guard(lock_);
  std::erase(threads_, ended);
}

}  // namespace orv
