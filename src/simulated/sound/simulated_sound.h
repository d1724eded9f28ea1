// The sound of a simulated machine: what each endpoint plays, by which clock, and which streams
// clients have running on it. May be used from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "simulated/sound/playback_description.h"

namespace orv {

// The time by which a machine's endpoints play.
class SoundClock {
 public:
  using Time = std::chrono::nanoseconds;  // since the beginning of what is played

  // Begins again, `speed` times as fast as real time; 0: only steps move it.
  void Restart(double speed);
  void Step(Time step);
  Time Now() const;

 private:
  mutable std::mutex lock_;
  Time reached_{0};  // at `since_`
  double speed_ = 1;
  std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
};

// Streams of clients on one machine.
struct SoundActivity {
  unsigned capturing = 0;  // running now
  unsigned rendering = 0;
  std::uint64_t rendered_frames = 0;   // handed in by clients so far
  std::uint64_t audible_frames = 0;    // of those, in buffers with anything but zeros
  std::int64_t loopback_duration = 0;  // asked for by the last loopback client, in 100 ns
};

class SimulatedSound {
 public:
  // Replaces what endpoints play and begins it. Open streams keep what was played before.
  void Play(PlaybackDescription playback);

  SoundClock& clock() noexcept { return clock_; }
  Pace pace() const;
  // Never null: endpoints without a description are silent and have an ordinary format.
  std::shared_ptr<const EndpointSound> SoundOf(const std::wstring& endpoint) const;

  SoundActivity activity() const;
  void Note(const std::function<void(SoundActivity&)>& change);
  // Waits until the activity is as wanted. Returns false after the time limit.
  bool WaitUntil(const std::function<bool(const SoundActivity&)>& wanted,
                 std::chrono::milliseconds limit) const;

 private:
  SoundClock clock_;
  mutable std::mutex lock_;  // guards what follows
  Pace pace_ = Pace::Clock;
  std::vector<std::shared_ptr<const EndpointSound>> sounds_;
  SoundActivity activity_;
  mutable std::condition_variable changed_;
};

}  // namespace orv
