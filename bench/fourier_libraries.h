// The Fourier transforms of other libraries, as far as they are installed.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>

#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif
#if defined(ORV_BENCH_KISSFFT)
#include <kissfft/kiss_fftr.h>
#endif

namespace orv {

// A forward transform of one size; the output has room for two more numbers than the input.
using RealWork = std::function<void(float* input, float* output)>;

struct Contender {
  RealWork run;
  std::string instructions;  // vector instruction sets that it uses
};

// Aligned as every contender likes it.
struct FreeAligned {
  static constexpr std::align_val_t kAlignment{64};
  void operator()(float* numbers) const { ::operator delete(numbers, kAlignment); }
};
using AlignedNumbers = std::unique_ptr<float[], FreeAligned>;
inline AlignedNumbers MakeAligned(std::size_t count) {
  return AlignedNumbers(
      static_cast<float*>(::operator new(count * sizeof(float), FreeAligned::kAlignment)));
}

#if defined(ORV_BENCH_FFTW)
using FftwPlan = std::shared_ptr<fftwf_plan_s>;

// A plan's text names the instruction set of each of its parts.
inline std::string FftwInstructions(const FftwPlan& plan) {
  const std::unique_ptr<char, decltype(&std::free)> text(fftwf_sprint_plan(plan.get()), std::free);
  std::string sets;
  for (const std::string set : {"sse2", "avx", "avx2", "avx2_128", "avx512"}) {
    if (std::string(text.get()).find('_' + set + '"') != std::string::npos)
      sets += (sets.empty() ? "" : "+") + set;
  }
  return sets.empty() ? "scalar" : sets;
}

// In halfcomplex order, which is ours.
inline Contender FftwHalfcomplex(std::uint32_t size, unsigned flags) {
  const auto input = MakeAligned(size);
  const auto output = MakeAligned(size);
  const FftwPlan plan(fftwf_plan_r2r_1d(static_cast<int>(size), input.get(), output.get(),
                                        FFTW_R2HC, flags | FFTW_PRESERVE_INPUT),
                      fftwf_destroy_plan);
  return {[plan](float* in, float* out) { fftwf_execute_r2r(plan.get(), in, out); },
          FftwInstructions(plan)};
}

// In pairs of real and imaginary parts.
inline Contender FftwPairs(std::uint32_t size, unsigned flags) {
  const auto input = MakeAligned(size);
  const auto output = MakeAligned(size + 2);
  const FftwPlan plan(fftwf_plan_dft_r2c_1d(static_cast<int>(size), input.get(),
                                            reinterpret_cast<fftwf_complex*>(output.get()), flags),
                      fftwf_destroy_plan);
  return {[plan](float* in, float* out) {
            fftwf_execute_dft_r2c(plan.get(), in, reinterpret_cast<fftwf_complex*>(out));
          },
          FftwInstructions(plan)};
}
#endif

#if defined(ORV_BENCH_KISSFFT)
inline Contender KissFft(std::uint32_t size) {
  const std::shared_ptr<kiss_fftr_state> plan(
      kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr), kiss_fftr_free);
  return {[plan](float* in, float* out) {
            kiss_fftr(plan.get(), in, reinterpret_cast<kiss_fft_cpx*>(out));
          },
          "scalar"};
}
#endif

}  // namespace orv
