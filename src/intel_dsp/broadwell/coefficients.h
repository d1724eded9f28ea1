// Coefficient parameters of the Broadwell module: ready-made sets and designs at 48000 Hz.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dsp_math/filter_design.h"

namespace orv::broadwell {

using Bytes = std::vector<std::byte>;

// Steeper high-pass filters do not survive 16-bit coefficients; bounds a block and its design.
inline constexpr std::int32_t kHighestOrder = 24;
constexpr bool IsOrder(std::int32_t order) noexcept { return order >= 1 && order <= kHighestOrder; }

// A design with a shift that the module cannot apply (outside 0 to 31, for 16-bit words 0 to 16) is
// refused like a wrong frequency: the block is empty.

// Order, 16-bit sections and gain, two zero bytes. The order must satisfy IsOrder; frequency in Hz.
// Empty if the design is refused.
Bytes HighPassBlock(std::int32_t order, std::int32_t frequency);
// "Default" or any other configuration. The block has room for the order and for the set.
Bytes HighPassPreset(std::int32_t order, const std::string& configuration);

// Number of sections, 32-bit sections and gain. Empty if the design is refused or the driver cannot
// take so many bands.
Bytes EqualizerBlock(std::span<const FilterBand> bands);
Bytes EqualizerPreset(const std::string& configuration);

// Loudspeaker sizes in Hz; empty if the design is refused.
Bytes BassBlock(std::int32_t audio_size, std::int32_t analysis_size);
Bytes BassPreset();

// Second-order high-pass at a frequency in Hz; empty if the design is refused.
Bytes SpaceBlock(std::int32_t frequency);
Bytes SpacePreset();

}  // namespace orv::broadwell
