// The analysis object: captures what an endpoint plays, and analyses it when a client asks.
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <string>

#include "analysis/loopback_stream.h"
#include "analysis/sample_queues.h"
#include "analysis/spectrum.h"
#include "dsp_math/transform.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"
#include "properties/thread_basic.h"

namespace orv {

// Calls come on one thread at a time, except GetPeaks, which may come on any.
class CAnalysisData final : public RefCounted<Chain<IAnalysisData>> {
 public:
  static constexpr std::size_t kChannels = 8;  // with a peak of their own

  CAnalysisData(Module& module, IUnknown* endpoint, const std::wstring& device_id);
  ~CAnalysisData() override;
  // Opens and starts the loopback stream, and starts the playback thread.
  HRESULT FinalConstruct();

  HRESULT STDMETHODCALLTYPE GetPeaks(FLOAT* peaks) override;
  HRESULT STDMETHODCALLTYPE GetSpectralData(USHORT channel, USHORT num_freqs, ULONG* frequencies,
                                            FLOAT* magnitude) override;

 private:
  // Keeps a silent stream running on the endpoint: the engine has nothing to capture while no
  // client plays.
  class PlaybackThread final : public IORVThreadBasicWorker {
   public:
    explicit PlaybackThread(ComPtr<IMMDevice> device) : device_(std::move(device)) {}
    bool Run(ORVThreadBasic& thread, Event& stop) override;

   private:
    ComPtr<IMMDevice> device_;
  };

  struct Spectrum {
    bool present = false;        // from an analysis until it is taken
    SampleQueues::Block values;  // the transform's output
  };

  void LoadQueue();
  bool AnalysePacket();
  void CountPacket();
  void RebuildSpectra();

  ComPtr<IUnknown> endpoint_;
  const std::wstring device_id_;
  LoopbackStream stream_;
  SpectrumBins bins_;
  std::unique_ptr<PlaybackThread> worker_;
  ORVThreadBasic playback_;  // stopped before its worker goes

  alignas(TransformInstance) std::array<std::byte, 48> transform_memory_;  // InstanceSize()
  TransformInstance* transform_ = nullptr;
  SampleQueues queues_;

  std::mutex lock_;  // guards what follows
  std::array<float, kChannels> peaks_{};
  std::array<Spectrum, SampleQueues::kQueues> spectra_;
};

}  // namespace orv
