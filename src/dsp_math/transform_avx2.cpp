#include "dsp_math/transform_kernels.h"
#include "dsp_math/transform_lanes.inc"

namespace orv {

void TransformAvx2(const float* input, float* output, std::uint32_t size) {
  size >= 128 ? Lanes<8>::Run(input, output, size) : Lanes<4>::Run(input, output, size);
}

}  // namespace orv
