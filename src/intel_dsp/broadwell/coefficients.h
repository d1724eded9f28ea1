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

// Order, 16-bit sections and gain, two zero bytes. The order must be one; frequency in Hz. Empty
// when the frequency is refused.
Bytes HighPassBlock(std::int32_t order, std::int32_t frequency);
// "Default" or any other configuration. The block has room for the order and for the set.
Bytes HighPassPreset(std::int32_t order, const std::string& configuration);

// Number of sections, 32-bit sections and gain. Empty when a frequency is refused or the driver
// cannot take so many bands.
Bytes EqualizerBlock(std::span<const FilterBand> bands);
Bytes EqualizerPreset(const std::string& configuration);

// Loudspeaker sizes in Hz; empty when one is refused.
Bytes BassBlock(std::int32_t audio_size, std::int32_t analysis_size);
Bytes BassPreset();

// Second-order high-pass at a frequency in Hz; empty when it is refused.
Bytes SpaceBlock(std::int32_t frequency);
Bytes SpacePreset();

}  // namespace orv::broadwell
