// From controls to the fields of a block.
#pragma once

#include <functional>

#include "intel_dsp/skylake/block_tables.h"

namespace orv {

// Fills one field; throws IntelException, the field untouched, when its controls do not allow it.
void ConvertField(const BlockField& field, const ControlValueMap& map, BlockBytes& bytes);

// Fills a field that could not be converted; false gives the exception back.
using FieldRescue =
    std::function<bool(const BlockField& field, const IntelException& error, BlockBytes& bytes)>;
// Every field in its order. When it throws, `bytes` holds what was filled until then.
void FillBlock(const SkylakeBlock& block, const ControlValueMap& map, BlockBytes& bytes,
               const FieldRescue& rescue = {});

// Reports the first field whose value lies outside its range.
bool InRange(const SkylakeBlock& block, const BlockBytes& bytes);

}  // namespace orv
