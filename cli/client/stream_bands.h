// Bands of a spectrum and the bins that the component has for them.
#pragma once

#include <cstdint>
#include <vector>

#include "cli/show/spectrum_bands.h"

namespace orv::cli {

// Leaves out what a stream of this rate (Hz) cannot have, and marks bands with the same bins.
void FitToStream(std::vector<Band>& bands, std::uint32_t sample_rate);

}  // namespace orv::cli
