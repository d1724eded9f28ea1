// Audio clients of the endpoints of a simulated machine.
#include <algorithm>

#include "simulated/devices/counted_object.h"
#include "simulated/devices/simulated_devices.h"
#include "simulated/sound/stream_buffers.h"

namespace orv {
namespace {

constexpr REFERENCE_TIME kSecond = 10000000;
constexpr REFERENCE_TIME kDefaultPeriod = kSecond / 100;
constexpr REFERENCE_TIME kMinimumPeriod = kDefaultPeriod * 3 / 10;

DWORD SpeakerMask(std::uint32_t channels) {
  // Centre, stereo, 5.1 and 7.1.
  constexpr std::pair<std::uint32_t, DWORD> kMasks[] = {{1, 0x4}, {2, 0x3}, {6, 0x3F}, {8, 0x63F}};
  const auto* mask = std::ranges::find(kMasks, channels, &std::pair<std::uint32_t, DWORD>::first);
  return mask == std::end(kMasks) ? 0 : mask->second;
}

WAVEFORMATEXTENSIBLE MixFormatOf(const EndpointSound& sound) {
  WAVEFORMATEXTENSIBLE format{};
  const bool extensible = sound.format == MixFormatKind::ExtensibleFloat ||
                          sound.format == MixFormatKind::ExtensiblePcm;
  const bool is_float =
      sound.format == MixFormatKind::ExtensibleFloat || sound.format == MixFormatKind::Float;
  WAVEFORMATEX& plain = format.Format;
  plain.wFormatTag = extensible ? WAVE_FORMAT_EXTENSIBLE
                     : is_float ? WAVE_FORMAT_IEEE_FLOAT
                                : WAVE_FORMAT_PCM;
  plain.nChannels = static_cast<WORD>(sound.shape.channels);
  plain.nSamplesPerSec = sound.shape.rate;
  plain.wBitsPerSample = static_cast<WORD>(sound.bits);
  plain.nBlockAlign = static_cast<WORD>(sound.shape.channels * sound.bits / 8);
  plain.nAvgBytesPerSec = plain.nBlockAlign * plain.nSamplesPerSec;
  if (!extensible) return format;
  plain.cbSize = sizeof format - sizeof plain;
  format.Samples.wValidBitsPerSample = plain.wBitsPerSample;
  format.dwChannelMask = SpeakerMask(sound.shape.channels);
  format.SubFormat = is_float ? kSubFormatFloat : kSubFormatPcm;
  return format;
}

// An object for the packets of a buffer.
template <class Interface, class Buffer>
class Service : public CountedObject<Interface> {
 public:
  Service(std::shared_ptr<Buffer> buffer, std::shared_ptr<FaultPlan> faults)
      : buffer_(std::move(buffer)), faults_(std::move(faults)) {}

 protected:
  std::shared_ptr<Buffer> buffer_;
  std::shared_ptr<FaultPlan> faults_;
};

class CaptureService final : public Service<IAudioCaptureClient, CaptureBuffer> {
 public:
  using Service::Service;

  HRESULT STDMETHODCALLTYPE GetBuffer(BYTE** data, UINT32* frames, DWORD* flags, UINT64* position,
                                      UINT64* time) override {
    if (data == nullptr || frames == nullptr || flags == nullptr) return E_POINTER;
    return Operation(*faults_, "capture.get_buffer", [&] {
      if (time != nullptr) *time = 0;
      return buffer_->Take(data, frames, flags, position);
    });
  }

  HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames) override {
    return Guard([&]() -> HRESULT {
      const HRESULT status = buffer_->GiveBack(frames);
      // The packet is gone whatever the call answers.
      if (const auto fault = faults_->Check("capture.release_buffer")) return *fault;
      return status;
    });
  }

  HRESULT STDMETHODCALLTYPE GetNextPacketSize(UINT32* frames) override {
    return Operation(*faults_, "capture.next_packet_size", frames, [&] {
      *frames = buffer_->NextPacket();
      return S_OK;
    });
  }
};

class RenderService final : public Service<IAudioRenderClient, RenderBuffer> {
 public:
  using Service::Service;

  HRESULT STDMETHODCALLTYPE GetBuffer(UINT32 frames, BYTE** data) override {
    return Operation(*faults_, "render.get_buffer", data,
                     [&] { return buffer_->Take(frames, data); });
  }

  HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames, DWORD flags) override {
    return Operation(*faults_, "render.release_buffer",
                     [&] { return buffer_->GiveBack(frames, flags); });
  }
};

class AudioClient final : public CountedObject<IAudioClient> {
 public:
  AudioClient(const SimulatedDevices& devices, const SimulatedEndpoint& endpoint)
      : machine_(devices.sound),
        faults_(devices.faults),
        flow_(endpoint.flow),
        sound_(machine_->SoundOf(endpoint.id)) {}

  HRESULT STDMETHODCALLTYPE Initialize(AUDCLNT_SHAREMODE mode, DWORD flags,
                                       REFERENCE_TIME buffer_duration, REFERENCE_TIME periodicity,
                                       const WAVEFORMATEX* format, LPCGUID) override {
    if (format == nullptr) return E_POINTER;
    return Operation(*faults_, "audio.initialize", [&]() -> HRESULT {
      if (buffer_ != nullptr) return AUDCLNT_E_ALREADY_INITIALIZED;
      if (mode != AUDCLNT_SHAREMODE_SHARED) return AUDCLNT_E_EXCLUSIVE_MODE_NOT_ALLOWED;
      if ((flags & ~AUDCLNT_STREAMFLAGS_LOOPBACK) != 0 || periodicity != 0 || buffer_duration < 0)
        return E_INVALIDARG;
      const bool loopback = (flags & AUDCLNT_STREAMFLAGS_LOOPBACK) != 0;
      if (loopback && flow_ != eRender) return AUDCLNT_E_WRONG_ENDPOINT_TYPE;
      const auto samples = AcceptedSamples(*format);
      if (!samples) return AUDCLNT_E_UNSUPPORTED_FORMAT;
      if (loopback)
        machine_->Note([&](SoundActivity& a) { a.loopback_duration = buffer_duration; });
      Open(loopback || flow_ == eCapture, {machine_, sound_, *samples, Capacity(buffer_duration)});
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetBufferSize(UINT32* frames) override {
    if (frames == nullptr) return E_POINTER;
    return Initialised("audio.get_buffer_size", [&]() -> HRESULT {
      *frames = capacity_;
      return S_OK;
    });
  }
  // Operations that the component never calls are not implemented.
  HRESULT STDMETHODCALLTYPE GetStreamLatency(REFERENCE_TIME*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCurrentPadding(UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE IsFormatSupported(AUDCLNT_SHAREMODE, const WAVEFORMATEX*,
                                              WAVEFORMATEX**) override {
    return E_NOTIMPL;
  }

  HRESULT STDMETHODCALLTYPE GetMixFormat(WAVEFORMATEX** format) override {
    return Operation(*faults_, "audio.get_mix_format", format, [&]() -> HRESULT {
      const WAVEFORMATEXTENSIBLE mix = MixFormatOf(*sound_);
      void* copy =
          TaskCopy(reinterpret_cast<const BYTE*>(&mix), sizeof(WAVEFORMATEX) + mix.Format.cbSize);
      *format = static_cast<WAVEFORMATEX*>(copy);
      return copy == nullptr ? E_OUTOFMEMORY : S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetDevicePeriod(REFERENCE_TIME* default_period,
                                            REFERENCE_TIME* minimum_period) override {
    if (default_period == nullptr && minimum_period == nullptr) return E_POINTER;
    return Operation(*faults_, "audio.get_device_period", [&] {
      if (default_period != nullptr) *default_period = kDefaultPeriod;
      if (minimum_period != nullptr) *minimum_period = kMinimumPeriod;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE Start() override {
    return Initialised("audio.start", [&] { return buffer_->Start(); });
  }
  HRESULT STDMETHODCALLTYPE Stop() override {
    return Initialised("audio.stop", [&] { return buffer_->Stop(); });
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    return Initialised("audio.reset", [&] { return buffer_->Reset(); });
  }
  // Streams are opened without events here.
  HRESULT STDMETHODCALLTYPE SetEventHandle(HANDLE) override {
    return AUDCLNT_E_EVENTHANDLE_NOT_EXPECTED;
  }

  HRESULT STDMETHODCALLTYPE GetService(REFIID iid, void** service) override {
    if (service == nullptr) return E_POINTER;
    *service = nullptr;
    return Initialised("audio.get_service", [&]() -> HRESULT {
      if (IsEqualIID(iid, IID_IAudioCaptureClient)) {
        if (capture_ == nullptr) return AUDCLNT_E_WRONG_ENDPOINT_TYPE;
        *service = static_cast<IAudioCaptureClient*>(new CaptureService(capture_, faults_));
      } else if (IsEqualIID(iid, IID_IAudioRenderClient)) {
        if (render_ == nullptr) return AUDCLNT_E_WRONG_ENDPOINT_TYPE;
        *service = static_cast<IAudioRenderClient*>(new RenderService(render_, faults_));
      } else {
        return E_NOINTERFACE;
      }
      return S_OK;
    });
  }

 private:
  // An operation of an initialised client.
  template <class Body>
  HRESULT Initialised(FaultOperation name, Body&& body) {
    return Operation(*faults_, name, [&]() -> HRESULT {
      return buffer_ == nullptr ? AUDCLNT_E_NOT_INITIALIZED : body();
    });
  }

  // The engine converts the samples, and nothing else.
  std::optional<SampleFormat> AcceptedSamples(const WAVEFORMATEX& format) const {
    if (format.nSamplesPerSec != sound_->shape.rate || format.nChannels != sound_->shape.channels ||
        format.nAvgBytesPerSec != format.nBlockAlign * format.nSamplesPerSec)
      return std::nullopt;
    const auto samples = SampleFormatOf(format);
    const WAVEFORMATEXTENSIBLE* extensible = AsExtensible(format);
    if (extensible == nullptr || samples != SampleFormat::Float32) return samples;
    const bool whole = extensible->Samples.wValidBitsPerSample == format.wBitsPerSample;
    return whole ? samples : std::nullopt;
  }

  // What the client asks for, at least somewhat more than two periods and the longest packet.
  UINT32 Capacity(REFERENCE_TIME duration) const {
    constexpr REFERENCE_TIME kLongest = 2 * kSecond;
    const REFERENCE_TIME granted =
        std::clamp<REFERENCE_TIME>(duration, kDefaultPeriod * 22 / 10, kLongest);
    const REFERENCE_TIME frames = (granted * sound_->shape.rate + kSecond - 1) / kSecond;
    const auto& packets = sound_->packet_frames;
    const auto longest = std::max_element(packets.begin(), packets.end());
    return std::max(static_cast<UINT32>(frames), longest == packets.end() ? 0 : *longest);
  }

  void Open(bool capture, StreamSetting setting) {
    capacity_ = setting.capacity;
    if (capture)
      buffer_ = capture_ = std::make_shared<CaptureBuffer>(std::move(setting));
    else
      buffer_ = render_ = std::make_shared<RenderBuffer>(std::move(setting));
  }

  std::shared_ptr<SimulatedSound> machine_;
  std::shared_ptr<FaultPlan> faults_;
  const EDataFlow flow_;
  std::shared_ptr<const EndpointSound> sound_;
  UINT32 capacity_ = 0;  // frames
  std::shared_ptr<CaptureBuffer> capture_;
  std::shared_ptr<RenderBuffer> render_;
  std::shared_ptr<StreamBuffer> buffer_;  // one of the two
};

}  // namespace

HRESULT ActivateSimulatedAudioClient(const SimulatedDevices& devices,
                                     const SimulatedEndpoint& endpoint, void** object) {
  if (const auto fault = devices.faults->Check("audio.activate")) return *fault;
  if (endpoint.state != DEVICE_STATE_ACTIVE) return AUDCLNT_E_DEVICE_INVALIDATED;
  *object = static_cast<IAudioClient*>(new AudioClient(devices, endpoint));
  return S_OK;
}

}  // namespace orv
