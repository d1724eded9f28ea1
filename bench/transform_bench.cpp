// The real transform against FFTW (single precision) and KissFFT: forward, in order, planning
// apart. The two take turns, so that both meet the same machine; counters give the nanoseconds of a
// transform, the least over all turns, and their ratio. Run it pinned to one core.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "dsp_math/transform.h"
#include "dsp_math/transform_kernels.h"

#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif
#if defined(ORV_BENCH_KISSFFT)
#include <kissfft/kiss_fftr.h>
#endif

namespace orv {
namespace {

constexpr int kTurns = 40;
constexpr double kTurnPoints = 600000;  // about a millisecond

struct Buffers {
  explicit Buffers(std::size_t size) : input(Aligned(size)), output(Aligned(size + 2)) {
    for (std::size_t i = 0; i < size; ++i) {
      input[i] = static_cast<float>(std::sin(0.37 * static_cast<double>(i * i % 1009)));
    }
  }

  struct Free {
    void operator()(float* numbers) const { ::operator delete(numbers, kAlignment); }
  };
  using Numbers = std::unique_ptr<float[], Free>;
  static constexpr std::align_val_t kAlignment{64};  // as every contender likes it
  static Numbers Aligned(std::size_t count) {
    return Numbers(static_cast<float*>(::operator new(count * sizeof(float), kAlignment)));
  }

  Numbers input;
  Numbers output;
};

using Work = std::function<void(Buffers&)>;
using MakeWork = Work (*)(std::uint32_t size);

// Processor time, so that others on the machine do not count.
double NanosecondsOf(const Work& work, Buffers& buffers, int repetitions) {
  const std::clock_t begin = std::clock();
  for (int i = 0; i < repetitions; ++i) {
    work(buffers);
    benchmark::DoNotOptimize(buffers.output.get());
    benchmark::ClobberMemory();
  }
  return 1e9 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC / repetitions;
}

Work Ours(std::uint32_t size) {
  struct Made {
    explicit Made(std::uint32_t points) : plan({points, 1}) {
      CreateTransformInstance(&instance, memory.data(), {points, 1});
    }
    RegisteredTransform plan;
    std::array<char, 48> memory{};
    TransformInstance* instance = nullptr;
  };
  return [made = std::make_shared<Made>(size)](Buffers& buffers) {
    RealTransform(*made->instance, buffers.input.get(), buffers.output.get());
  };
}

Work Portable(std::uint32_t size) {
  return [size](Buffers& buffers) {
    TransformPortable(buffers.input.get(), buffers.output.get(), size);
  };
}

#if defined(ORV_BENCH_FFTW)
using FftwPlan = std::shared_ptr<fftwf_plan_s>;

template <unsigned kFlags>
Work FftwHalfcomplex(std::uint32_t size) {
  Buffers planned(size);
  const FftwPlan plan(fftwf_plan_r2r_1d(static_cast<int>(size), planned.input.get(),
                                        planned.output.get(), FFTW_R2HC, kFlags),
                      fftwf_destroy_plan);
  return [plan](Buffers& buffers) {
    fftwf_execute_r2r(plan.get(), buffers.input.get(), buffers.output.get());
  };
}

template <unsigned kFlags>
Work FftwComplex(std::uint32_t size) {
  Buffers planned(size);
  const FftwPlan plan(
      fftwf_plan_dft_r2c_1d(static_cast<int>(size), planned.input.get(),
                            reinterpret_cast<fftwf_complex*>(planned.output.get()), kFlags),
      fftwf_destroy_plan);
  return [plan](Buffers& buffers) {
    fftwf_execute_dft_r2c(plan.get(), buffers.input.get(),
                          reinterpret_cast<fftwf_complex*>(buffers.output.get()));
  };
}
#endif

#if defined(ORV_BENCH_KISSFFT)
Work KissFft(std::uint32_t size) {
  const std::shared_ptr<kiss_fftr_state> plan(
      kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr), kiss_fftr_free);
  return [plan](Buffers& buffers) {
    kiss_fftr(plan.get(), buffers.input.get(),
              reinterpret_cast<kiss_fft_cpx*>(buffers.output.get()));
  };
}
#endif

void Compare(benchmark::State& state, std::uint32_t size, MakeWork make_other) {
  const Work ours = Ours(size);
  const Work other = make_other(size);
  Buffers buffers(size);
  const int repetitions = std::max(1, static_cast<int>(kTurnPoints / size));
  double least_ours = std::numeric_limits<double>::infinity();
  double least_other = least_ours;
  for (auto _ : state) {
    const double nanoseconds = NanosecondsOf(ours, buffers, repetitions);
    least_ours = std::min(least_ours, nanoseconds);
    least_other = std::min(least_other, NanosecondsOf(other, buffers, repetitions));
    state.SetIterationTime(nanoseconds * 1e-9);
  }
  state.counters["ours_ns"] = least_ours;
  state.counters["other_ns"] = least_other;
  state.counters["ours/other"] = least_ours / least_other;
}

const bool kRegistered = [] {
  const std::pair<const char*, MakeWork> others[] = {
      {"portable", Portable},
#if defined(ORV_BENCH_KISSFFT)
      {"kissfft", KissFft},
#endif
#if defined(ORV_BENCH_FFTW)
      {"fftw_estimate_r2hc", FftwHalfcomplex<FFTW_ESTIMATE>},
      {"fftw_estimate_r2c", FftwComplex<FFTW_ESTIMATE>},
      {"fftw_measure_r2hc", FftwHalfcomplex<FFTW_MEASURE>},
      {"fftw_measure_r2c", FftwComplex<FFTW_MEASURE>},
#endif
  };
  for (const auto& [name, make] : others) {
    for (std::uint32_t size = 32; size <= 4096; size *= 2) {
      benchmark::RegisterBenchmark(
          ("RealTransform/" + std::to_string(size) + "/against_" + name).c_str(),
          [size, make = make](benchmark::State& state) { Compare(state, size, make); })
          ->Iterations(kTurns)
          ->UseManualTime();
    }
  }
  return true;
}();

}  // namespace
}  // namespace orv
