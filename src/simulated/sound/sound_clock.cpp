#include "simulated/sound/sound_clock.h"

namespace orv {

void SoundClock::Run(double speed) {
  const std::lock_guard guard(lock_);
  reached_ = NowLocked();
  since_ = std::chrono::steady_clock::now();
  speed_ = speed;
}

void SoundClock::Restart(double speed) {
  const std::lock_guard guard(lock_);
  reached_ = Time(0);
  since_ = std::chrono::steady_clock::now();
  speed_ = speed;
}

void SoundClock::Step(Time step) {
  const std::lock_guard guard(lock_);
  reached_ += step;
}

SoundClock::Time SoundClock::Now() const {
  const std::lock_guard guard(lock_);
  return NowLocked();
}

SoundClock::Time SoundClock::NowLocked() const {
  if (speed_ == 0) return reached_;
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - since_;
  return reached_ + std::chrono::duration_cast<Time>(passed * speed_);
}

}  // namespace orv
