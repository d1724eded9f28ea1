// Filters of both Intel modules, from controls to coefficient words.
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

// The type of a band that passes its input on: its type control is missing or unknown, or it cannot
// be a filter.
inline constexpr std::int32_t kUnknownBandType = 10;

// How a suite of controls names its bands: "VQ3D-PEQ " with types "VQ3D-Traditional", ...
struct EqualizerSuite {
  const char* stem;
  const char* type_prefix;
  const char* reader;  // Class::Method, for diagnostic lines
};
inline constexpr EqualizerSuite kSkylakeEqualizer = {"VQ3D-PEQ ", "VQ3D-",
                                                     "KELAPOIntelDSP_SKL::SetVQ3DHPFAEQControls"};
inline constexpr EqualizerSuite kBroadwellEqualizer = {"ZENSND-PEQ ", "ZENSND-",
                                                       "KELAPOIntelDSP_BRW::ProcessPEQControls"};

// Bands of a channel ("Left" or "Right") in their order, up to the first one without an Enable
// control. A band whose frequency or quality factor is not above 0 passes its input on, so that the
// channel keeps its other bands. Throws IntelException if a band lacks its frequency, quality
// factor or gain.
std::vector<FilterBand> ReadEqualizerBands(const EqualizerSuite& suite, const std::string& channel,
                                           const ControlValueMap& map);

// The words of a cascade of these bands (FilterWords of their number); bands of unknown type are
// unity sections, no bands are the overall gain alone. Empty if a frequency is refused.
std::vector<std::int32_t> DesignEqualizer(std::span<const FilterBand> bands);
// A Butterworth set; empty unless the frequency (Hz) is between 0 and half the sample rate.
std::vector<std::int32_t> DesignHighPass(float frequency, std::int32_t order);
// The set of two loudspeaker sizes in Hz; empty if a size, or the all-pass that goes with the audio
// size, is not between 0 and half the sample rate.
std::vector<std::int32_t> DesignBassSet(std::int32_t audio_size, std::int32_t analysis_size);

// Whether a filter can be designed for a frequency in Hz.
constexpr bool IsFrequency(std::int32_t hertz) noexcept {
  return hertz > 0 && hertz < kIntelSampleRate / 2;
}

}  // namespace orv
