// The Fourier transforms of other libraries, as far as they are installed.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <new>

#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif
#if defined(ORV_BENCH_KISSFFT)
#include <kissfft/kiss_fftr.h>
#endif

namespace orv {

// A forward transform of one size; the output has room for two more numbers than the input.
using RealWork = std::function<void(float* input, float* output)>;

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
// In halfcomplex order, which is ours.
inline RealWork FftwHalfcomplex(std::uint32_t size, unsigned flags) {
  const auto input = MakeAligned(size);
  const auto output = MakeAligned(size);
  const std::shared_ptr<fftwf_plan_s> plan(
      fftwf_plan_r2r_1d(static_cast<int>(size), input.get(), output.get(), FFTW_R2HC,
                        flags | FFTW_PRESERVE_INPUT),
      fftwf_destroy_plan);
  return [plan](float* in, float* out) { fftwf_execute_r2r(plan.get(), in, out); };
}

// In pairs of real and imaginary parts.
inline RealWork FftwPairs(std::uint32_t size, unsigned flags) {
  const auto input = MakeAligned(size);
  const auto output = MakeAligned(size + 2);
  const std::shared_ptr<fftwf_plan_s> plan(
      fftwf_plan_dft_r2c_1d(static_cast<int>(size), input.get(),
                            reinterpret_cast<fftwf_complex*>(output.get()), flags),
      fftwf_destroy_plan);
  return [plan](float* in, float* out) {
    fftwf_execute_dft_r2c(plan.get(), in, reinterpret_cast<fftwf_complex*>(out));
  };
}
#endif

#if defined(ORV_BENCH_KISSFFT)
inline RealWork KissFft(std::uint32_t size) {
  const std::shared_ptr<kiss_fftr_state> plan(
      kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr), kiss_fftr_free);
  return [plan](float* in, float* out) {
    kiss_fftr(plan.get(), in, reinterpret_cast<kiss_fft_cpx*>(out));
  };
}
#endif

}  // namespace orv
