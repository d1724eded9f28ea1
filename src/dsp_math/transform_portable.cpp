#include "dsp_math/transform_kernels.h"
#include "dsp_math/transform_lanes.inc"

namespace orv {

void TransformPortable(const float* input, float* output, std::uint32_t size) {
  Lanes<4>::Run(input, output, size);
}

}  // namespace orv
