// The cost of live analysis to a client that shows 60 pictures a second of a stereo stream at
// 48 kHz, and the spectrum path with FFTW in place of our transform. Run it pinned to one core.
#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <vector>

#include "analysis/analysis_data.h"
#include "analysis/sample_queues.h"
#include "analysis/spectrum.h"
#include "bench/fourier_libraries.h"
#include "bench/measure.h"
#include "dsp_math/transform.h"
#include "platform/audio_client.h"
#include "platform/com_memory.h"
#include "platform/com_object.h"
#include "platform/com_ptr.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

constexpr wchar_t kSpeakers[] = L"{0.0.0.00000000}.{A}";
constexpr int kPicturesPerSecond = 60;
constexpr std::chrono::nanoseconds kPicture = std::chrono::nanoseconds(1000000000) / 60;

// Frequencies of third octaves, as a display asks for them.
std::vector<ULONG> Frequencies(std::size_t count) {
  std::vector<ULONG> frequencies(count);
  for (std::size_t i = 0; i < count; ++i)
    frequencies[i] = static_cast<ULONG>(50 + 23000 * i / count);
  return frequencies;
}

class StereoMachine {
 public:
  StereoMachine() {
    SimulatedEndpoint speakers;
    speakers.id = kSpeakers;
    machine->description().endpoints = {speakers};
    FileError error;
    machine->SetPlayback(R"({"clock": "held", "endpoints": [{"endpoint": "{0.0.0.00000000}.{A}",
        "sounds": [{"kind": "clicks", "every": 1000}]}]})",
                         error);
    module.SetMachine(machine);
  }

  std::shared_ptr<SimulatedMachine> machine = SimulatedMachine::InMemory();
  Module module{{}, [] { return std::shared_ptr<Machine>(); }};
};

// Reads the stream without analysis: the work of the simulated engine alone, which is subtracted.
class BareListener {
 public:
  explicit BareListener(SimulatedMachine& machine) {
    ComPtr<IMMDeviceEnumerator> enumerator;
    ComPtr<IMMDevice> device;
    machine.CreateDeviceEnumerator(enumerator.Put());
    enumerator->GetDevice(kSpeakers, device.Put());
    device->Activate(IID_IAudioClient, CLSCTX_ALL, nullptr, client_.PutVoid());
    UniqueTaskMemory<WAVEFORMATEX> format;
    client_->GetMixFormat(OutPtr(format));
    client_->Initialize(AUDCLNT_SHAREMODE_SHARED, AUDCLNT_STREAMFLAGS_LOOPBACK, 100000, 0,
                        format.get(), nullptr);
    client_->GetService(IID_IAudioCaptureClient, capture_.PutVoid());
    client_->Start();
  }
  void Drain() {
    UINT32 size = 0;
    while (SUCCEEDED(capture_->GetNextPacketSize(&size)) && size != 0) {
      BYTE* data = nullptr;
      DWORD flags = 0;
      capture_->GetBuffer(&data, &size, &flags, nullptr, nullptr);
      benchmark::DoNotOptimize(data);
      capture_->ReleaseBuffer(size);
    }
  }

 private:
  ComPtr<IAudioClient> client_;
  ComPtr<IAudioCaptureClient> capture_;
};

class Endpoint final : public CountedObject<IUnknown> {};

// One GetSpectralData for every picture, alternately of both channels.
void Picture(benchmark::State& state) {
  const RegisteredTransform transform(kAnalysisTransform);
  StereoMachine analysed;
  StereoMachine bare;
  const auto endpoint = ComPtr<IUnknown>::Adopt(new Endpoint);
  ComPtr<IAnalysisData> analysis;
  if (FAILED(CreateAnalysisData(analysed.module, endpoint.get(), kSpeakers, analysis.Put())))
    return state.SkipWithError("no analysis object");
  BareListener listener(*bare.machine);
  auto frequencies = Frequencies(static_cast<std::size_t>(state.range(0)));
  std::vector<float> levels(frequencies.size());
  constexpr std::size_t kPictures = 10 * kPicturesPerSecond;
  USHORT channel = 0;
  const auto show = [&] {
    analysed.machine->sound().clock().Step(kPicture);
    analysis->GetSpectralData(channel ^= 1, static_cast<USHORT>(levels.size()), frequencies.data(),
                              levels.data());
    benchmark::DoNotOptimize(levels.data());
  };
  const auto listen = [&] {
    bare.machine->sound().clock().Step(kPicture);
    listener.Drain();
  };
  Turns turns;
  for (auto _ : state) turns.Take(kPictures, show, listen);
  const double analysis_ns = turns.ours - turns.other;
  state.counters["picture_us"] = analysis_ns / 1000;
  state.counters["engine_us"] = turns.other / 1000;
  state.counters["percent_of_core"] = analysis_ns * kPicturesPerSecond / 1e7;
}
BENCHMARK(Picture)->Arg(27)->Arg(521)->Iterations(20);

#if defined(ORV_BENCH_FFTW)
constexpr std::size_t kBlock = SampleQueues::kBlock;

// A packet through queues, transforms, bins and levels.
class SpectrumPath {
 public:
  explicit SpectrumPath(RealWork transform, bool pairs = false)
      : transform_(std::move(transform)), pairs_(pairs) {}

  void Run(const SamplePacket& packet, const std::vector<ULONG>& frequencies, float* levels) {
    queues_.Append(packet);
    for (std::size_t queue = 0; queue < SampleQueues::kQueues; ++queue) {
      transform_(const_cast<float*>(queues_.last_block(queue).data()), output_.data());
      for (std::size_t i = 0; i < frequencies.size(); ++i)
        levels[i] = Decibels(bins_.Magnitude(output_[Index(bins_.Nearest(frequencies[i]))]));
      benchmark::DoNotOptimize(levels);
      benchmark::ClobberMemory();
    }
  }

 private:
  // Of the same value among real and imaginary parts in pairs.
  std::size_t Index(std::size_t bin) const {
    if (!pairs_) return bin;
    return bin <= kBlock / 2 ? 2 * bin : 2 * (kBlock - bin) + 1;
  }

  RealWork transform_;
  bool pairs_;
  SpectrumBins bins_{48000};
  SampleQueues queues_;
  alignas(64) std::array<float, kBlock + 2> output_{};
};

void AgainstFftw(benchmark::State& state, bool pairs) {
  const RegisteredTransform plan(kAnalysisTransform);
  std::array<std::byte, 48> memory{};
  TransformInstance* instance = nullptr;
  CreateTransformInstance(&instance, memory.data(), kAnalysisTransform);
  SpectrumPath ours(
      [instance](float* input, float* output) { RealTransform(*instance, input, output); });
  SpectrumPath other(
      (pairs ? FftwPairs(kBlock, FFTW_MEASURE) : FftwHalfcomplex(kBlock, FFTW_MEASURE)).run, pairs);
  constexpr std::size_t kFrames = 480;
  std::vector<float> samples(2 * kFrames);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = 0.01F * static_cast<float>(static_cast<int>(i * i % 101) - 50);
  const SamplePacket packet{reinterpret_cast<const std::uint8_t*>(samples.data()), kFrames, 2,
                            SampleFormat::Float32};
  const auto frequencies = Frequencies(27);
  std::vector<float> levels(frequencies.size());
  Turns turns;
  for (auto _ : state) {
    turns.Take(
        400, [&] { ours.Run(packet, frequencies, levels.data()); },
        [&] { other.Run(packet, frequencies, levels.data()); });
  }
  turns.Report(state);
}
BENCHMARK_CAPTURE(AgainstFftw, halfcomplex, false)->Iterations(200);
BENCHMARK_CAPTURE(AgainstFftw, pairs, true)->Iterations(200);
#endif

}  // namespace
}  // namespace orv
