// The buffers between a client and the audio engine, in the engine's terms; the COM objects use
// them. May be used from any thread.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/sample_format.h"
#include "simulated/sound/simulated_sound.h"

namespace orv {

struct StreamSetting {
  std::shared_ptr<SimulatedSound> machine;
  std::shared_ptr<const EndpointSound> sound;
  SampleFormat format = SampleFormat::Float32;
  UINT32 capacity = 0;  // frames

  std::size_t frame_bytes() const noexcept { return sound->shape.channels * SampleBytes(format); }
};

class StreamBuffer {
 public:
  virtual ~StreamBuffer() = default;

  HRESULT Start();
  HRESULT Stop();  // S_FALSE if it is stopped already
  HRESULT Reset();

 protected:
  // `streams` counts the running streams of this kind.
  StreamBuffer(StreamSetting setting, unsigned SoundActivity::*streams)
      : setting_(std::move(setting)), streams_(streams) {}

  // Under the lock.
  virtual void Started() = 0;
  virtual void Stopping() {}
  virtual void Clear() = 0;

  const StreamSetting setting_;
  unsigned SoundActivity::*const streams_;
  std::mutex lock_;  // guards what follows, here and in the derived classes
  bool running_ = false;
};

// Packets of what the endpoint plays. Packets that are not taken in time get lost, the oldest
// first.
class CaptureBuffer final : public StreamBuffer {
 public:
  explicit CaptureBuffer(StreamSetting setting);
  ~CaptureBuffer() override { Stop(); }

  UINT32 NextPacket();
  HRESULT Take(BYTE** data, UINT32* frames, DWORD* flags, UINT64* position);
  HRESULT GiveBack(UINT32 frames);

 private:
  void Started() override;
  void Clear() override { held_ = 0; }
  std::uint64_t Played() const;
  UINT32 PacketLength(std::uint64_t packet) const;
  UINT32 NextPacketLocked();
  DWORD FillPacket(UINT32 frames);

  const Pace pace_;
  bool ready_ = true;           // on demand: there is a packet
  std::uint64_t position_ = 0;  // frames; of the next packet in what the endpoint plays
  std::uint64_t packets_ = 0;   // taken so far
  bool lost_some_ = false;      // since the last packet
  UINT32 held_ = 0;             // frames of the packet that the client holds
  std::vector<float> mix_;      // reused from packet to packet
  std::vector<std::uint8_t> bytes_;
};

// What a client plays. It keeps the engine running and goes nowhere else.
class RenderBuffer final : public StreamBuffer {
 public:
  explicit RenderBuffer(StreamSetting setting)
      : StreamBuffer(std::move(setting), &SoundActivity::rendering) {}
  ~RenderBuffer() override { Stop(); }

  HRESULT Take(UINT32 frames, BYTE** data);
  HRESULT GiveBack(UINT32 frames, DWORD flags);

 private:
  void Started() override;
  void Stopping() override { waiting_ = Padding(); }
  void Clear() override { waiting_ = 0; }
  UINT32 Padding();  // frames written and not played now

  SoundClock::Time since_{0};  // when `waiting_` was true
  std::uint64_t waiting_ = 0;  // frames written and not played
  UINT32 held_ = 0;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace orv
