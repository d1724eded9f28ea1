#include "endpoints/watch_turn.h"

#include <utility>

namespace orv {

void WatchTurn::lock() {
  std::unique_lock state(state_);
  free_.wait(state, [this] { return !held_; });
  held_ = true;
}

void WatchTurn::unlock() {
  const std::lock_guard state(state_);
  held_ = requested_ = false;
  free_.notify_one();
}

bool WatchTurn::LockOrRequest() {
  const std::lock_guard state(state_);
  requested_ = held_;
  return !std::exchange(held_, true);
}

bool WatchTurn::UnlockUnlessRequested() {
  const std::lock_guard state(state_);
  if (std::exchange(requested_, false)) return false;
  held_ = false;
  free_.notify_one();
  return true;
}

}  // namespace orv
