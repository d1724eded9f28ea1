#include "dsp_math/transform_kernels.h"

#include "dsp_math/transform_lanes.inc"

namespace orv {

void TransformPortable(const float* input, float* output, std::uint32_t size) {
  Lanes<4>::Run(input, output, size);
}

const NamedTransformKernel* AvailableTransformKernels() {
#if defined(ORV_TRANSFORM_X86)
  static constexpr NamedTransformKernel kAll[] = {
      {"avx2", TransformAvx2}, {"portable", TransformPortable}, {nullptr, nullptr}};
  __builtin_cpu_init();
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return avx2 ? kAll : kAll + 1;
#else
  static constexpr NamedTransformKernel kAll[] = {{"portable", TransformPortable},
                                                  {nullptr, nullptr}};
  return kAll;
#endif
}

}  // namespace orv
