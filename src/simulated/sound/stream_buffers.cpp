#include "simulated/sound/stream_buffers.h"

#include <algorithm>
#include <utility>

namespace orv {
namespace {

constexpr std::uint8_t kGarbage = 0x7F;  // as a sample of any format it is loud

// The frames that go by in a time.
std::uint64_t FramesIn(SoundClock::Time time, std::uint32_t rate) {
  constexpr std::uint64_t kTicksASecond = 1000000000;
  const auto ticks = static_cast<std::uint64_t>(std::max<SoundClock::Time::rep>(time.count(), 0));
  return ticks / kTicksASecond * rate + ticks % kTicksASecond * rate / kTicksASecond;
}

}  // namespace

HRESULT StreamBuffer::Start() {
  const std::lock_guard guard(lock_);
  if (running_) return AUDCLNT_E_NOT_STOPPED;
  running_ = true;
  Started();
  setting_.machine->Note([this](SoundActivity& activity) { ++(activity.*streams_); });
  return S_OK;
}

HRESULT StreamBuffer::Stop() {
  const std::lock_guard guard(lock_);
  if (!running_) return S_FALSE;
  Stopping();
  running_ = false;
  setting_.machine->Note([this](SoundActivity& activity) { --(activity.*streams_); });
  return S_OK;
}

HRESULT StreamBuffer::Reset() {
  const std::lock_guard guard(lock_);
  if (running_) return AUDCLNT_E_NOT_STOPPED;
  Clear();
  return S_OK;
}

CaptureBuffer::CaptureBuffer(StreamSetting setting)
    : StreamBuffer(std::move(setting), &SoundActivity::capturing),
      pace_(setting_.machine->pace()) {}

void CaptureBuffer::Started() {
  if (pace_ == Pace::Clock) position_ = Played();
}

UINT32 CaptureBuffer::NextPacket() {
  const std::lock_guard guard(lock_);
  return NextPacketLocked();
}

std::uint64_t CaptureBuffer::Played() const {
  return FramesIn(setting_.machine->clock().Now(), setting_.sound->shape.rate);
}

UINT32 CaptureBuffer::PacketLength(std::uint64_t packet) const {
  const auto& lengths = setting_.sound->packet_frames;
  if (lengths.empty()) return std::max(setting_.sound->shape.rate / 100, 1U);
  return lengths[packet % lengths.size()];
}

UINT32 CaptureBuffer::NextPacketLocked() {
  if (!running_) return 0;
  if (held_ != 0) return held_;
  // Without a sound or a client that plays, no packets come, not even silent ones.
  if (setting_.sound->sources.empty() && setting_.machine->activity().rendering == 0) {
    if (pace_ == Pace::Clock) position_ = Played();
    return 0;
  }
  const UINT32 length = PacketLength(packets_);
  if (pace_ == Pace::OnDemand) return std::exchange(ready_, true) ? length : 0;
  const std::uint64_t played = Played();
  if (played < position_) return 0;  // a packet that is yet to be played is lost already
  const std::uint64_t waiting = played - position_;
  const std::uint64_t packets = waiting / length;
  const std::uint64_t kept = setting_.capacity / length;
  if (packets > kept) {
    position_ += (packets - kept) * length;
    lost_some_ = true;
  }
  return packets != 0 ? length : 0;
}

HRESULT CaptureBuffer::Take(BYTE** data, UINT32* frames, DWORD* flags, UINT64* position) {
  const std::lock_guard guard(lock_);
  if (held_ != 0) return AUDCLNT_E_OUT_OF_ORDER;
  *data = nullptr;
  *flags = 0;
  *frames = NextPacketLocked();
  if (position != nullptr) *position = position_;
  if (*frames == 0) return AUDCLNT_S_BUFFER_EMPTY;
  *flags = FillPacket(*frames);
  *data = bytes_.data();
  held_ = *frames;
  return S_OK;
}

DWORD CaptureBuffer::FillPacket(UINT32 frames) {
  const EndpointSound& sound = *setting_.sound;
  mix_.assign(std::size_t{frames} * sound.shape.channels, 0.0F);
  bool audible = false;
  for (const SoundSource& source : sound.sources)
    audible = AddSource(source, sound.shape, position_, mix_) || audible;
  bytes_.resize(mix_.size() * SampleBytes(setting_.format));
  for (std::size_t i = 0; i < mix_.size(); ++i)
    StoreSample(setting_.format, mix_[i], bytes_.data() + i * SampleBytes(setting_.format));
  DWORD flags = lost_some_ ? AUDCLNT_BUFFERFLAGS_DATA_DISCONTINUITY : 0;
  if (!audible) flags |= AUDCLNT_BUFFERFLAGS_SILENT;
  if (sound.silent_every != 0 && (packets_ + 1) % sound.silent_every == 0) {
    flags |= AUDCLNT_BUFFERFLAGS_SILENT;
    std::fill(bytes_.begin(), bytes_.end(), kGarbage);
  }
  return flags;
}

HRESULT CaptureBuffer::GiveBack(UINT32 frames) {
  const std::lock_guard guard(lock_);
  if (frames == 0) {  // not taken after all: the packet comes again
    held_ = 0;
    return S_OK;
  }
  if (held_ == 0) return AUDCLNT_E_OUT_OF_ORDER;
  if (frames != held_) return AUDCLNT_E_INVALID_SIZE;
  position_ += held_;
  held_ = 0;
  ++packets_;
  ready_ = false;
  lost_some_ = setting_.sound->gap_every != 0 && packets_ % setting_.sound->gap_every == 0;
  if (lost_some_) position_ += PacketLength(packets_);
  return S_OK;
}

void RenderBuffer::Started() { since_ = setting_.machine->clock().Now(); }

UINT32 RenderBuffer::Padding() {
  if (running_) {
    const SoundClock::Time now = setting_.machine->clock().Now();
    waiting_ -= std::min(waiting_, FramesIn(now - since_, setting_.sound->shape.rate));
    since_ = now;
  }
  return static_cast<UINT32>(waiting_);
}

HRESULT RenderBuffer::Take(UINT32 frames, BYTE** data) {
  const std::lock_guard guard(lock_);
  if (held_ != 0) return AUDCLNT_E_OUT_OF_ORDER;
  if (frames > setting_.capacity - Padding()) return AUDCLNT_E_BUFFER_TOO_LARGE;
  bytes_.assign(frames * setting_.frame_bytes(), 0xCD);
  held_ = frames;
  *data = frames != 0 ? bytes_.data() : nullptr;
  return S_OK;
}

HRESULT RenderBuffer::GiveBack(UINT32 frames, DWORD flags) {
  const std::lock_guard guard(lock_);
  if (frames == 0) {
    held_ = 0;
    return S_OK;
  }
  if (held_ == 0) return AUDCLNT_E_OUT_OF_ORDER;
  if (frames > held_) return AUDCLNT_E_INVALID_SIZE;
  held_ = 0;
  waiting_ = Padding() + std::uint64_t{frames};
  const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(frames * setting_.frame_bytes());
  const bool audible =
      (flags & AUDCLNT_BUFFERFLAGS_SILENT) == 0 &&
      std::any_of(bytes_.begin(), end, [](std::uint8_t byte) { return byte != 0; });
  setting_.machine->Note([&](SoundActivity& activity) {
    activity.rendered_frames += frames;
    if (audible) activity.audible_frames += frames;
  });
  return S_OK;
}

}  // namespace orv
