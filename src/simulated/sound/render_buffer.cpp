#include <algorithm>

#include "simulated/sound/stream_buffers.h"

namespace orv {

RenderBuffer::~RenderBuffer() { Stop(); }

HRESULT RenderBuffer::Start() {
  const std::lock_guard guard(lock_);
  if (running_) return AUDCLNT_E_NOT_STOPPED;
  running_ = true;
  since_ = setting_.machine->clock().Now();
  setting_.machine->Note([](SoundActivity& activity) { ++activity.rendering; });
  return S_OK;
}

HRESULT RenderBuffer::Stop() {
  const std::lock_guard guard(lock_);
  if (!running_) return S_FALSE;
  waiting_ = Padding();
  running_ = false;
  setting_.machine->Note([](SoundActivity& activity) { --activity.rendering; });
  return S_OK;
}

HRESULT RenderBuffer::Reset() {
  const std::lock_guard guard(lock_);
  if (running_) return AUDCLNT_E_NOT_STOPPED;
  waiting_ = 0;
  return S_OK;
}

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
