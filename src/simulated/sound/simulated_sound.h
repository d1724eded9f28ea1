// The sound of a simulated machine: what each endpoint plays, by which clock, and which streams
// clients have running on it. May be used from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "simulated/sound/playback_description.h"
#include "simulated/sound/sound_clock.h"

namespace orv {

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
  // Replaces what endpoints play and begins with it; streams that are open are those of what was
  // played before.
  void Play(PlaybackDescription playback);

  SoundClock& clock() noexcept { return clock_; }
  Pace pace() const;
  // Never null: endpoints that are not described are silent and have an ordinary format.
  std::shared_ptr<const EndpointSound> SoundOf(const std::wstring& endpoint) const;

  SoundActivity activity() const;
  void Note(const std::function<void(SoundActivity&)>& change);
  // Waits until the activity is as wanted; false when the time is over.
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
