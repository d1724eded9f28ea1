// The right to switch a registry watch, held by one thread at a time. Switching waits for the watch
// thread to end, so nobody on that thread may wait for the turn: who must not wait leaves a request
// instead, and the holder serves it before letting go.
#pragma once

#include <condition_variable>
#include <mutex>

namespace orv {

class WatchTurn {
 public:
  void lock();
  void unlock();
  // Takes the turn, or leaves a request with its holder (false). Never waits for a holder.
  bool LockOrRequest();
  // Gives the turn back; false, still holding it, when requests came meanwhile (now one's own to
  // serve).
  bool UnlockUnlessRequested();

 private:
  std::mutex state_;
  std::condition_variable free_;
  bool held_ = false;
  bool requested_ = false;
};

}  // namespace orv
