#include "dsp_math/transform_kernels.h"
#include "dsp_math/transform_lanes.inc"

namespace orv {

void TransformAvx512(const float* input, float* output, std::uint32_t size) {
  if (size >= 512) {
    Lanes<16>::Run(input, output, size);
  } else if (size >= 128) {
    Lanes<8>::Run(input, output, size);
  } else {
    Lanes<4>::Run(input, output, size);
  }
}

}  // namespace orv
