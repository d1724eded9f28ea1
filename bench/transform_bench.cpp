// The real transform against FFTW (single precision) and KissFFT: forward, in order, without
// planning. The two take turns; counters give the nanoseconds of a transform, the least over all
// turns, and their ratio. Run it pinned to one core.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "bench/fourier_libraries.h"
#include "bench/measure.h"
#include "dsp_math/transform.h"
#include "dsp_math/transform_kernels.h"

namespace orv {
namespace {

constexpr int kTurns = 40;
constexpr double kTurnPoints = 600000;  // about a millisecond

RealWork Ours(std::uint32_t size) {
  struct Prepared {
    explicit Prepared(std::uint32_t points) : plan({points, 1}) {
      CreateTransformInstance(&instance, memory.data(), {points, 1});
    }
    RegisteredTransform plan;
    std::array<char, 48> memory{};
    TransformInstance* instance = nullptr;
  };
  return [prepared = std::make_shared<Prepared>(size)](float* input, float* output) {
    RealTransform(*prepared->instance, input, output);
  };
}

void Compare(benchmark::State& state, std::uint32_t size, const RealWork& other) {
  const RealWork ours = Ours(size);
  const auto input = MakeAligned(size);
  const auto output = MakeAligned(size + 2);
  for (std::size_t i = 0; i < size; ++i)
    input[i] = static_cast<float>(std::sin(0.37 * static_cast<double>(i * i % 1009)));
  const auto run = [&](const RealWork& work) {
    return [&] {
      work(input.get(), output.get());
      benchmark::DoNotOptimize(output.get());
      benchmark::ClobberMemory();
    };
  };
  const auto repetitions = std::max<std::size_t>(1, static_cast<std::size_t>(kTurnPoints / size));
  Turns turns;
  for (auto _ : state) turns.Take(repetitions, run(ours), run(other));
  turns.Report(state);
}

const bool kRegistered = [] {
  const std::pair<const char*, std::function<RealWork(std::uint32_t)>> others[] = {
      {"portable",
       [](std::uint32_t size) {
         return [size](float* in, float* out) { TransformPortable(in, out, size); };
       }},
#if defined(ORV_BENCH_KISSFFT)
      {"kissfft", KissFft},
#endif
#if defined(ORV_BENCH_FFTW)
      {"fftw_estimate_r2hc",
       [](std::uint32_t size) { return FftwHalfcomplex(size, FFTW_ESTIMATE); }},
      {"fftw_estimate_r2c", [](std::uint32_t size) { return FftwPairs(size, FFTW_ESTIMATE); }},
      {"fftw_measure_r2hc", [](std::uint32_t size) { return FftwHalfcomplex(size, FFTW_MEASURE); }},
      {"fftw_measure_r2c", [](std::uint32_t size) { return FftwPairs(size, FFTW_MEASURE); }},
#endif
  };
  for (const auto& [name, make] : others) {
    for (std::uint32_t size = 32; size <= 4096; size *= 2) {
      benchmark::RegisterBenchmark(
          ("RealTransform/" + std::to_string(size) + "/against_" + name).c_str(),
          [size, make = make](benchmark::State& state) { Compare(state, size, make(size)); })
          ->Iterations(kTurns);
    }
  }
  return true;
}();

}  // namespace
}  // namespace orv
