// The real transform against FFTW (single precision) and KissFFT: forward, in order, without
// planning. The two take turns; counters give the nanoseconds of a transform, the least over all
// turns, and their ratio, and the label names the vector instructions of both. Run it pinned to one
// core.
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

#if defined(ORV_BENCH_FFTW)
bool g_fftw_wide = true;  // whether FFTW's next plan may use vectors of more than 128 bits
#endif

Contender Ours(std::uint32_t size) {
  struct Prepared {
    explicit Prepared(std::uint32_t points) : plan({points, 1}) {
      CreateTransformInstance(&instance, memory.data(), {points, 1});
    }
    RegisteredTransform plan;
    std::array<char, 48> memory{};
    TransformInstance* instance = nullptr;
  };
  return {[prepared = std::make_shared<Prepared>(size)](float* input, float* output) {
            RealTransform(*prepared->instance, input, output);
          },
          AvailableTransformKernels()->name};
}

Contender Portable(std::uint32_t size) {
  return {[size](float* input, float* output) { TransformPortable(input, output, size); },
          "portable"};
}

void Compare(benchmark::State& state, std::uint32_t size, const Contender& ours,
             const Contender& other) {
  state.SetLabel(ours.instructions + " / " + other.instructions);
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
  for (auto _ : state) turns.Take(repetitions, run(ours.run), run(other.run));
  turns.Report(state);
}

#if defined(ORV_BENCH_FFTW)
template <unsigned kFlags>
Contender Halfcomplex(std::uint32_t size) {
  return FftwHalfcomplex(size, kFlags);
}

template <unsigned kFlags, bool kWide = true>
Contender Pairs(std::uint32_t size) {
  fftwf_cleanup();  // forgets which instruction sets it may use
  g_fftw_wide = kWide;
  return FftwPairs(size, kFlags);
}
#endif

const bool kRegistered = [] {
  using Make = Contender (*)(std::uint32_t);
  struct Comparison {
    std::string name;
    Make ours;
    Make other;
  };
  const Comparison comparisons[] = {
      {"against_portable", Ours, Portable},
#if defined(ORV_BENCH_KISSFFT)
      {"against_kissfft", Ours, KissFft},
#endif
#if defined(ORV_BENCH_FFTW)
      {"against_fftw_estimate_r2hc", Ours, Halfcomplex<FFTW_ESTIMATE>},
      {"against_fftw_estimate_r2c", Ours, Pairs<FFTW_ESTIMATE>},
      {"against_fftw_measure_r2hc", Ours, Halfcomplex<FFTW_MEASURE>},
      {"against_fftw_measure_r2c", Ours, Pairs<FFTW_MEASURE>},
      {"portable_against_fftw_estimate_r2c", Portable, Pairs<FFTW_ESTIMATE>},
      {"portable_against_fftw_measure_r2c", Portable, Pairs<FFTW_MEASURE>},
      {"portable_against_128_bit_fftw_estimate_r2c", Portable, Pairs<FFTW_ESTIMATE, false>},
      {"portable_against_128_bit_fftw_measure_r2c", Portable, Pairs<FFTW_MEASURE, false>},
#endif
  };
  for (const Comparison& comparison : comparisons) {
    for (std::uint32_t size = 32; size <= 4096; size *= 2) {
      benchmark::RegisterBenchmark(
          ("RealTransform/" + std::to_string(size) + "/" + comparison.name).c_str(),
          [size, comparison](benchmark::State& state) {
            Compare(state, size, comparison.ours(size), comparison.other(size));
          })
          ->Iterations(kTurns);
    }
  }
  return true;
}();

}  // namespace
}  // namespace orv

#if defined(ORV_BENCH_FFTW)
// FFTW asks these functions of its own which vectors the processor has; ours are found first.
#pragma GCC visibility push(default)
extern "C" {
int fftwf_have_simd_avx() { return orv::g_fftw_wide && __builtin_cpu_supports("avx"); }
int fftwf_have_simd_avx2() { return orv::g_fftw_wide && __builtin_cpu_supports("avx2"); }
int fftwf_have_simd_avx512() { return orv::g_fftw_wide && __builtin_cpu_supports("avx512f"); }
}
#pragma GCC visibility pop
#endif
