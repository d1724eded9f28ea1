// What of a spectrum is shown: frequencies that were asked for, or third-octave bands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::cli {

struct Band {
  std::uint32_t frequency = 0;  // Hz, its name
  // Where it is looked at; the highest level counts.
  std::vector<std::uint32_t> points;
  // The first band before this one that has the same bins, so that it always shows the same level.
  std::optional<std::uint32_t> same_bins_as;
};

// 50 Hz to 20 kHz by their nominal centres. Every bin that a band holds is looked at.
std::vector<Band> ThirdOctaveBands();
std::vector<Band> SingleFrequencies(const std::vector<std::uint32_t>& frequencies);

// Whether a stream of this rate (Hz) can have the frequency: above 0 and below half the rate.
bool IsInBand(std::uint32_t frequency, std::uint32_t sample_rate) noexcept;

// "63", "1.25k": short enough for an axis.
std::string ShortFrequency(std::uint32_t frequency);

}  // namespace orv::cli
