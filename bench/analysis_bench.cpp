// What live analysis costs a client that shows 60 pictures a second of a stereo stream at 48 kHz,
// and the spectrum path with FFTW in place of our transform. Run it pinned to one core.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "analysis/analysis_data.h"
#include "analysis/sample_queues.h"
#include "analysis/spectrum.h"
#include "dsp_math/transform.h"
#include "platform/audio_client.h"
#include "platform/com_ptr.h"
#include "simulated/devices/counted_object.h"
#include "simulated/simulated_machine.h"

#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif

namespace orv {
namespace {

constexpr wchar_t kSpeakers[] = L"{0.0.0.00000000}.{A}";
constexpr int kPicturesPerSecond = 60;
constexpr std::chrono::nanoseconds kPicture = std::chrono::nanoseconds(1000000000) / 60;

double Nanoseconds(std::clock_t begin) {
  return 1e9 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

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

// The simulated engine's own work is taken off: a bare listener on the same machine does it alone.
class BareListener {
 public:
  explicit BareListener(SimulatedMachine& machine) {
    ComPtr<IMMDeviceEnumerator> enumerator;
    ComPtr<IMMDevice> device;
    machine.CreateDeviceEnumerator(enumerator.Put());
    enumerator->GetDevice(kSpeakers, device.Put());
    device->Activate(IID_IAudioClient, CLSCTX_ALL, nullptr, client_.PutVoid());
    WAVEFORMATEX* format = nullptr;
    client_->GetMixFormat(&format);
    client_->Initialize(AUDCLNT_SHAREMODE_SHARED, AUDCLNT_STREAMFLAGS_LOOPBACK, 100000, 0, format,
                        nullptr);
    CoTaskMemFree(format);
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

class StandIn final : public CountedObject<IUnknown> {};

// One GetSpectralData for every picture, alternately of both channels.
void Picture(benchmark::State& state) {
  const RegisteredTransform transform(kAnalysisTransform);
  StereoMachine heard;
  StereoMachine bare;
  const auto endpoint = ComPtr<IUnknown>::Adopt(new StandIn);
  ComPtr<IAnalysisData> analysis;
  if (FAILED(CreateAnalysisData(heard.module, endpoint.get(), kSpeakers, analysis.Put())))
    return state.SkipWithError("no analysis object");
  BareListener listener(*bare.machine);
  auto frequencies = Frequencies(static_cast<std::size_t>(state.range(0)));
  std::vector<float> levels(frequencies.size());
  constexpr int kPictures = 10 * kPicturesPerSecond;
  double whole = std::numeric_limits<double>::infinity();
  double engine = whole;
  for (auto _ : state) {
    std::clock_t begin = std::clock();
    for (int i = 0; i < kPictures; ++i) {
      heard.machine->sound().clock().Step(kPicture);
      analysis->GetSpectralData(static_cast<USHORT>(i % 2), static_cast<USHORT>(levels.size()),
                                frequencies.data(), levels.data());
      benchmark::DoNotOptimize(levels.data());
    }
    whole = std::min(whole, Nanoseconds(begin) / kPictures);
    begin = std::clock();
    for (int i = 0; i < kPictures; ++i) {
      bare.machine->sound().clock().Step(kPicture);
      listener.Drain();
    }
    engine = std::min(engine, Nanoseconds(begin) / kPictures);
  }
  state.counters["picture_us"] = (whole - engine) / 1000;
  state.counters["engine_us"] = engine / 1000;
  state.counters["percent_of_core"] = (whole - engine) * kPicturesPerSecond / 1e7;
}
BENCHMARK(Picture)->Arg(27)->Arg(521)->Iterations(20);

#if defined(ORV_BENCH_FFTW)
constexpr std::size_t kBlock = SampleQueues::kBlock;

using Transform = std::function<void(const float* input, float* output)>;

// A packet through queues, transforms, bins and levels.
class SpectrumPath {
 public:
  explicit SpectrumPath(Transform transform, bool pairs = false)
      : transform_(std::move(transform)), pairs_(pairs) {}

  void Hear(const SamplePacket& packet, const std::vector<ULONG>& frequencies, float* levels) {
    queues_.Append(packet);
    for (std::size_t queue = 0; queue < SampleQueues::kQueues; ++queue) {
      transform_(queues_.last_block(queue).data(), output_.data());
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

  Transform transform_;
  bool pairs_;
  SpectrumBins bins_{48000};
  SampleQueues queues_;
  alignas(64) std::array<float, kBlock + 2> output_{};
};

Transform Fftw(bool pairs) {
  // Aligned as the queues' blocks are.
  alignas(64) std::array<float, kBlock> input{};
  alignas(64) std::array<float, kBlock + 2> output{};
  const auto size = static_cast<int>(kBlock);
  auto* complex = reinterpret_cast<fftwf_complex*>(output.data());
  const std::shared_ptr<fftwf_plan_s> plan(
      pairs ? fftwf_plan_dft_r2c_1d(size, input.data(), complex, FFTW_MEASURE)
            : fftwf_plan_r2r_1d(size, input.data(), output.data(), FFTW_R2HC,
                                FFTW_MEASURE | FFTW_PRESERVE_INPUT),
      fftwf_destroy_plan);
  if (pairs) {
    return [plan](const float* in, float* out) {
      fftwf_execute_dft_r2c(plan.get(), const_cast<float*>(in),
                            reinterpret_cast<fftwf_complex*>(out));
    };
  }
  return [plan](const float* in, float* out) {
    fftwf_execute_r2r(plan.get(), const_cast<float*>(in), out);
  };
}

void AgainstFftw(benchmark::State& state, bool pairs) {
  const RegisteredTransform plan(kAnalysisTransform);
  std::array<std::byte, 48> memory{};
  TransformInstance* instance = nullptr;
  CreateTransformInstance(&instance, memory.data(), kAnalysisTransform);
  SpectrumPath ours(
      [instance](const float* input, float* output) { RealTransform(*instance, input, output); });
  SpectrumPath other(Fftw(pairs), pairs);
  constexpr std::size_t kFrames = 480;
  std::vector<float> samples(2 * kFrames);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = 0.01F * static_cast<float>(static_cast<int>(i * i % 101) - 50);
  const SamplePacket packet{reinterpret_cast<const std::uint8_t*>(samples.data()), kFrames, 2,
                            SampleFormat::Float32};
  const auto frequencies = Frequencies(27);
  std::vector<float> levels(frequencies.size());
  constexpr int kPackets = 400;
  double least[2] = {std::numeric_limits<double>::infinity(),
                     std::numeric_limits<double>::infinity()};
  for (auto _ : state) {
    SpectrumPath* const paths[] = {&ours, &other};
    for (int path = 0; path < 2; ++path) {
      const std::clock_t begin = std::clock();
      for (int i = 0; i < kPackets; ++i) paths[path]->Hear(packet, frequencies, levels.data());
      least[path] = std::min(least[path], Nanoseconds(begin) / kPackets);
    }
  }
  state.counters["ours_ns"] = least[0];
  state.counters["fftw_ns"] = least[1];
  state.counters["ours/fftw"] = least[0] / least[1];
}
BENCHMARK_CAPTURE(AgainstFftw, halfcomplex, false)->Iterations(200);
BENCHMARK_CAPTURE(AgainstFftw, pairs, true)->Iterations(200);
#endif

}  // namespace
}  // namespace orv
