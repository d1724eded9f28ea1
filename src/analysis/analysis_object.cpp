#include "analysis/analysis_object.h"

#include <algorithm>
#include <atomic>
#include <boost/core/noncopyable.hpp>
#include <utility>

#include "analysis/analysis_data.h"
#include "frame/object_creation.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"

namespace orv {
namespace {

constexpr UINT32 kUsualPacket = 480;  // frames: 10 ms at 48 kHz
constexpr std::uint32_t kPacketsBetweenLines = 128;
constexpr std::size_t kReportedValue = 11;

// A driver that has packets without end, or keeps one that it does not hand out, must not hold the
// client's thread: 8192 packets are more than a minute of sound.
constexpr unsigned kMostPackets = 8192;
constexpr unsigned kMostRefusals = 64;

// Of all objects of the process.
std::atomic<std::uint32_t> g_packets{0};

// A packet of the capture service, given back at the latest at the end of its scope.
class HeldPacket : boost::noncopyable {
 public:
  explicit HeldPacket(IAudioCaptureClient& capture) : capture_(capture) {
    status_ = capture_.GetBuffer(&data_, &frames_, &flags_, nullptr, nullptr);
  }
  ~HeldPacket() {
    if (SUCCEEDED(status_)) capture_.ReleaseBuffer(frames_);
  }

  HRESULT status() const noexcept { return status_; }
  UINT32 frames() const noexcept { return frames_; }
  // Null if the packet is silent.
  const BYTE* data() const noexcept {
    return (flags_ & AUDCLNT_BUFFERFLAGS_SILENT) != 0 ? nullptr : data_;
  }

 private:
  IAudioCaptureClient& capture_;
  BYTE* data_ = nullptr;
  UINT32 frames_ = 0;
  DWORD flags_ = 0;
  HRESULT status_ = E_FAIL;
};

}  // namespace

CAnalysisData::CAnalysisData(Module& module, IUnknown* endpoint, const std::wstring& device_id)
    : RefCounted(&module), endpoint_(endpoint), device_id_(device_id) {
  CreateTransformInstance(&transform_, transform_memory_.data(), kAnalysisTransform);
}

CAnalysisData::~CAnalysisData() {
  if (stream_.client) stream_.client->Stop();
  endpoint_.Reset();
  playback_.Stop(ORVThreadBasic::kWaitForEver);
}

HRESULT CAnalysisData::FinalConstruct() {
  if (!endpoint_) return E_INVALIDARG;
  if (transform_ == nullptr) return E_FAIL;
  const auto machine = module().machine();
  if (machine == nullptr) return E_UNEXPECTED;
  const HRESULT status = OpenLoopbackStream(*machine, device_id_, stream_);
  if (FAILED(status)) return status;
  bins_ = SpectrumBins(stream_.sample_rate);

  // Analysis does not need playback.
  if (ComPtr<IMMDevice> device; SUCCEEDED(FindDevice(*machine, device_id_, device))) {
    worker_ = std::make_unique<PlaybackThread>(std::move(device));
    playback_.Start(worker_.get());
  }
  return stream_.client->Start();
}

HRESULT CAnalysisData::GetPeaks(FLOAT* peaks) {
  if (peaks == nullptr) return E_POINTER;
  std::array<float, kChannels> taken{};
  {
    const std::lock_guard guard(lock_);
    std::swap(taken, peaks_);
  }
  std::transform(taken.begin(), taken.end(), peaks, Decibels);
  return S_OK;
}

HRESULT CAnalysisData::GetSpectralData(USHORT channel, USHORT num_freqs, ULONG* frequencies,
                                       FLOAT* magnitude) {
  return Guard([&]() -> HRESULT {
    if (channel >= kChannels) return E_INVALIDARG;
    if (num_freqs != 0 && (frequencies == nullptr || magnitude == nullptr)) return E_POINTER;
    LoadQueue();
    const std::lock_guard guard(lock_);
    const bool present =
        channel < spectra_.size() && std::exchange(spectra_[channel].present, false);
    if (!present || bins_.count() == 0) {
      std::fill_n(magnitude, num_freqs, Decibels(0));
      return S_OK;
    }
    const SampleQueues::Block& values = spectra_[channel].values;
    std::transform(frequencies, frequencies + num_freqs, magnitude, [&](ULONG frequency) {
      return Decibels(bins_.Magnitude(values[bins_.Nearest(frequency)]));
    });
    return S_OK;
  });
}

void CAnalysisData::LoadQueue() {
  UINT32 size = 0;
  HRESULT status = stream_.capture->GetNextPacketSize(&size);
  unsigned refusals = 0;
  unsigned packets = 0;
  while (SUCCEEDED(status) && size != 0 && packets < kMostPackets && refusals < kMostRefusals) {
    if (AnalysePacket())
      ++packets;
    else
      ++refusals;
    status = stream_.capture->GetNextPacketSize(&size);
  }
  if (packets != 0) RebuildSpectra();
}

// False when the packet was not handed out.
bool CAnalysisData::AnalysePacket() {
  const HeldPacket held(*stream_.capture);
  if (FAILED(held.status())) return false;
  if (held.frames() < kUsualPacket) Diagnose(ORV_HERE("CAnalysisData::LoadQueue"), L"< 480!\n");

  const SamplePacket packet{held.data(), held.frames(), stream_.channel_count,
                            stream_.sample_format};
  queues_.Append(packet);
  CountPacket();
  const std::lock_guard guard(lock_);
  RaisePeaks(packet, peaks_);
  return true;
}

void CAnalysisData::CountPacket() {
  if (g_packets.fetch_add(1, std::memory_order_relaxed) % kPacketsBetweenLines != 0) return;
  SampleQueues::Block transformed;
  RealTransform(*transform_, queues_.last_block(0).data(), transformed.data());
  Diagnose(ORV_HERE("CAnalysisData::LoadQueue"), L"1k: %f\n", transformed[kReportedValue]);
}

// Each packet's last block replaces the spectra of the packet before it, so that only the blocks of
// the step's last packet are transformed.
void CAnalysisData::RebuildSpectra() {
  const std::lock_guard guard(lock_);
  for (std::size_t queue = 0; queue < SampleQueues::kQueues; ++queue) {
    RealTransform(*transform_, queues_.last_block(queue).data(), spectra_[queue].values.data());
    spectra_[queue].present = true;
  }
}

HRESULT CreateAnalysisData(Module& module, IUnknown* endpoint, const std::wstring& device_id,
                           IAnalysisData** analysis) {
  if (analysis == nullptr) return E_POINTER;
  *analysis = nullptr;
  return Guard([&] { return HandOut<CAnalysisData>(analysis, module, endpoint, device_id); });
}

}  // namespace orv
