// Where the control blocks lie in the image by which a write is verified.
#pragma once

#include "intel_dsp/skylake/block_tables.h"
#include "intel_dsp/skylake/parameter_blocks.h"

namespace orv {

// `size` bytes of a block from `offset` on.
struct ImageSegment {
  std::uint32_t parameter;
  std::size_t offset;
  std::size_t size;
};

constexpr ImageSegment WholeBlock(std::uint32_t parameter) {
  return {parameter, 0, BlockOf(parameter).size};
}

// The first block's last field, the high-pass switch, has its place further down.
inline constexpr std::array kImageSegments = {
    ImageSegment{kSkylakeVQ3D, 0, kHighPassSwitch.offset},
    WholeBlock(kSkylakeEVolHD),
    WholeBlock(kSkylakeVocalift),
    WholeBlock(kSkylakePX3D),
    WholeBlock(kSkylakeMXHP),
    WholeBlock(kSkylakeCommon),
    WholeBlock(kSkylakeGEQ),
    ImageSegment{kSkylakeVQ3D, kHighPassSwitch.offset, FieldWidth(kHighPassSwitch.type)},
    WholeBlock(kSkylakeAEQ),
    WholeBlock(kSkylakeMasterVolume),
    WholeBlock(kSkylakeHardLimiter),
    WholeBlock(kSkylakeTone),
    WholeBlock(kSkylakeAdvancedGains),
};

constexpr bool Holds(const ImageSegment& segment, std::uint32_t parameter,
                     const BlockField& field) {
  return segment.parameter == parameter && field.offset >= segment.offset &&
         field.offset + FieldWidth(field.type) <= segment.offset + segment.size;
}
// Every field of every block lies in exactly one segment, and nothing else does.
constexpr bool ImageHoldsEveryFieldOnce() {
  std::size_t held = 0;
  for (const SkylakeBlock& block : kSkylakeBlocks) {
    for (const BlockField& field : block.fields) {
      int holders = 0;
      for (const ImageSegment& segment : kImageSegments)
        holders += Holds(segment, block.parameter, field) ? 1 : 0;
      if (holders != 1) return false;
      held += FieldWidth(field.type);
    }
  }
  std::size_t size = 0;
  for (const ImageSegment& segment : kImageSegments) size += segment.size;
  return size == kSkylakeImageSize && held == kSkylakeImageSize;
}
static_assert(ImageHoldsEveryFieldOnce());

}  // namespace orv
