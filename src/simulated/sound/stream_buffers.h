// The buffers between a client and the audio engine, in the engine's terms; the COM objects stand
// on them. May be used from any thread.
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

// The frames that go by in a time.
std::uint64_t FramesIn(SoundClock::Time time, std::uint32_t rate);

class StreamBuffer {
 public:
  virtual ~StreamBuffer() = default;
  virtual HRESULT Start() = 0;
  virtual HRESULT Stop() = 0;  // S_FALSE when it stands already
  virtual HRESULT Reset() = 0;
};

// Packets of what the endpoint plays. What nobody takes in time gets lost, the oldest first.
class CaptureBuffer final : public StreamBuffer {
 public:
  explicit CaptureBuffer(StreamSetting setting);
  ~CaptureBuffer() override;

  HRESULT Start() override;
  HRESULT Stop() override;
  HRESULT Reset() override;

  UINT32 NextPacket();
  HRESULT Take(BYTE** data, UINT32* frames, DWORD* flags, UINT64* position);
  HRESULT GiveBack(UINT32 frames);

 private:
  std::uint64_t Played() const;
  UINT32 PacketLength(std::uint64_t packet) const;
  UINT32 NextPacketLocked();
  DWORD FillPacket(UINT32 frames);

  const StreamSetting setting_;
  const Pace pace_;
  std::mutex lock_;  // guards what follows
  bool running_ = false;
  bool ready_ = true;           // on demand: there is a packet
  std::uint64_t position_ = 0;  // frames; of the next packet in what the endpoint plays
  std::uint64_t packets_ = 0;   // taken so far
  bool lost_some_ = false;      // since the last packet
  UINT32 held_ = 0;             // frames of the packet that the client holds
  std::vector<float> mix_;      // reused from packet to packet
  std::vector<std::uint8_t> bytes_;
};

// What a client plays. Nobody hears it: it keeps the engine running.
class RenderBuffer final : public StreamBuffer {
 public:
  explicit RenderBuffer(StreamSetting setting) : setting_(std::move(setting)) {}
  ~RenderBuffer() override;

  HRESULT Start() override;
  HRESULT Stop() override;
  HRESULT Reset() override;

  HRESULT Take(UINT32 frames, BYTE** data);
  HRESULT GiveBack(UINT32 frames, DWORD flags);

 private:
  UINT32 Padding();  // frames written and not played now

  const StreamSetting setting_;
  std::mutex lock_;  // guards what follows
  bool running_ = false;
  SoundClock::Time since_{0};  // when `waiting_` was true
  std::uint64_t waiting_ = 0;  // frames written and not played
  UINT32 held_ = 0;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace orv
