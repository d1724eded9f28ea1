// The built-in filter configurations that a mode may choose instead of describing its filters.
#pragma once

#include <cstdint>

#include "intel_dsp/skylake/filter_coefficients.h"

namespace orv {

// The set of a filter type for both channels; unknown types are "Default". `rate` 32 and 44 select
// 32 and 44.1 kHz, any other value 48 kHz.
FilterCoefficients MakeFilterPreset(std::uint32_t type, int rate);

}  // namespace orv
