#include "intel_dsp/broadwell/parameter_blocks.h"

namespace orv::broadwell {
FieldPlace FindField(const std::string& control) {
  for (const Block& block : kBlocks) {
    for (const Field& field : block.fields) {
      if (field.conversion != Conversion::Reserved && control == field.control)
        return {&block, &field};
    }
  }
  return {};
}

}  // namespace orv::broadwell
