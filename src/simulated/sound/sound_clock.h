// The time by which a machine's endpoints play.
#pragma once

#include <chrono>
#include <mutex>

namespace orv {

// May be used from any thread.
class SoundClock {
 public:
  using Time = std::chrono::nanoseconds;  // since what is played began

  // Runs `speed` times as fast as real time (0: stands still, but for single steps), from where it
  // stands or from the beginning.
  void Run(double speed);
  void Restart(double speed);
  void Step(Time step);

  Time Now() const;

 private:
  Time NowLocked() const;

  mutable std::mutex lock_;
  Time reached_{0};  // at `since_`
  double speed_ = 1;
  std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
};

}  // namespace orv
