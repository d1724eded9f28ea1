// What of a spectrum is shown: frequencies that were asked for, or third-octave bands.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orv::cli {

struct Band {
  std::uint32_t frequency = 0;  // Hz, its name
  // Where it is looked at; the highest level counts.
  std::vector<std::uint32_t> points;
};

// 50 Hz to 20 kHz by their nominal centres. Every bin that a band holds is looked at.
std::vector<Band> ThirdOctaveBands();
std::vector<Band> SingleFrequencies(const std::vector<std::uint32_t>& frequencies);

// "63", "1.25k": short enough for an axis.
std::string ShortFrequency(std::uint32_t frequency);

}  // namespace orv::cli
