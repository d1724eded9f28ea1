// Parametric equaliser of one channel, from controls to coefficient words.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dsp_math/filter_design.h"
#include "intel_dsp/conversion/converters.h"

namespace orv {

// The sample rate of both Intel modules, in Hz.
inline constexpr std::int32_t kIntelSampleRate = 48000;

// The type of a band whose type control is missing or unknown; the band passes its input on.
inline constexpr std::int32_t kUnknownBandType = 10;

// Whether a band of a known type can be designed. DesignEqualizer also checks that the frequency is
// below half the sample rate.
constexpr bool IsFilter(const FilterBand& band) noexcept {
  return band.frequency > 0 && band.q > 0;
}

// How a suite of controls names its bands: "VQ3D-PEQ " with types "VQ3D-Traditional", ...
struct EqualizerSuite {
  const char* stem;
  const char* type_prefix;
};
inline constexpr EqualizerSuite kSkylakeEqualizer = {"VQ3D-PEQ ", "VQ3D-"};
inline constexpr EqualizerSuite kBroadwellEqualizer = {"ZENSND-PEQ ", "ZENSND-"};

// Bands of a channel ("Left" or "Right") in their order, up to the first one without an Enable
// control. Throws IntelException if a band lacks its frequency, quality factor or gain.
std::vector<FilterBand> ReadEqualizerBands(const EqualizerSuite& suite, const std::string& channel,
                                           const ControlValueMap& map);

// The words of a cascade of these bands (FilterWords of their number); bands of unknown type are
// unity sections, no bands are the overall gain alone. Empty if a frequency is refused.
std::vector<std::int32_t> DesignEqualizer(std::span<const FilterBand> bands,
                                          std::int32_t sample_rate = kIntelSampleRate);

}  // namespace orv
