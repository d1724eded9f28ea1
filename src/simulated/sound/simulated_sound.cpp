#include "simulated/sound/simulated_sound.h"

#include "platform/text.h"

namespace orv {

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
  if (speed_ == 0) return reached_;
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - since_;
  return reached_ + std::chrono::duration_cast<Time>(passed * speed_);
}

void SimulatedSound::Play(PlaybackDescription playback) {
  std::vector<std::shared_ptr<const EndpointSound>> sounds;
  for (EndpointSound& sound : playback.endpoints)
    sounds.push_back(std::make_shared<const EndpointSound>(std::move(sound)));
  clock_.Restart(playback.speed);
  const std::lock_guard guard(lock_);
  pace_ = playback.pace;
  sounds_ = std::move(sounds);
}

Pace SimulatedSound::pace() const {
  const std::lock_guard guard(lock_);
  return pace_;
}

std::shared_ptr<const EndpointSound> SimulatedSound::SoundOf(const std::wstring& endpoint) const {
  const std::lock_guard guard(lock_);
  for (const auto& sound : sounds_)
    if (EqualsIgnoringCase(sound->endpoint, endpoint)) return sound;
  return std::make_shared<const EndpointSound>();
}

SoundActivity SimulatedSound::activity() const {
  const std::lock_guard guard(lock_);
  return activity_;
}

void SimulatedSound::Note(const std::function<void(SoundActivity&)>& change) {
  const std::lock_guard guard(lock_);
  change(activity_);
  changed_.notify_all();
}

bool SimulatedSound::WaitUntil(const std::function<bool(const SoundActivity&)>& wanted,
                               std::chrono::milliseconds limit) const {
  std::unique_lock guard(lock_);
  return changed_.wait_for(guard, limit, [&] { return wanted(activity_); });
}

}  // namespace orv
