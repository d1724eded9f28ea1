// The blocks that a mode's values become, made by the same writers that the component uses.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cli/dsp_readback.h"

namespace orv::cli {

// In the order in which they would be sent. `driver` is "skylake", "broadwell" or "qualcomm".
// `held` answers what writers read from the DSP for controls that a mode lacks; null: nothing does.
// Blocks whose controls do not convert are left out.
std::vector<DspBlock> PlanBlocks(const std::string& driver,
                                 const std::map<std::wstring, std::int32_t, std::less<>>& controls,
                                 DspReadback* held);

}  // namespace orv::cli
