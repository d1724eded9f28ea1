// The transform's ways through the processor: the same stages, laid out for vectors of different
// width.
#pragma once

#include <cstdint>

namespace orv {

// Transforms `size` values (a power of two from 32 to 4096); `input` may equal `output`.
using TransformKernel = void (*)(const float* input, float* output, std::uint32_t size);

void TransformPortable(const float* input, float* output, std::uint32_t size);
#if defined(ORV_TRANSFORM_X86)
void TransformAvx2(const float* input, float* output, std::uint32_t size);  // needs AVX2 and FMA
#endif

struct NamedTransformKernel {
  const char* name;
  TransformKernel kernel;
};

// The kernels this processor can run, the fastest first; the list ends with a null kernel.
const NamedTransformKernel* AvailableTransformKernels();

}  // namespace orv
