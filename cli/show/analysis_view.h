// The live picture of what an endpoint plays, as lines of a terminal.
#pragma once

#include <string>
#include <vector>

#include "cli/show/level_meter.h"
#include "cli/show/output.h"
#include "cli/show/spectrum_bands.h"
#include "platform/terminal.h"

namespace orv::cli {

inline constexpr std::size_t kSpectrumChannels = 2;  // left and right

struct AnalysisPicture {
  std::string title;
  std::vector<LevelMeter> peaks;  // by channel
  std::vector<Band> bands;
  std::vector<std::vector<LevelMeter>> spectrum;  // by channel and band
};

// "L", "R" for the first two channels, else their number from 1.
std::string ChannelName(std::size_t channel);
// "-12.3 dB", "-inf".
std::string LevelText(float level);

// Lines that fit the size and leave its last column free, both scales fixed: peaks from -60 to 0
// dB, the spectrum from -90 to 0. Bands with the bins of another one are marked below the spectrum
// if there is room.
std::vector<std::string> DrawAnalysis(const AnalysisPicture& picture, const TerminalSize& size,
                                      const Output& output);

// One frame: the lines over what was there before, without a blank screen in between. `fresh`
// clears it first, after the size has changed.
std::string FrameText(const std::vector<std::string>& lines, bool fresh);

}  // namespace orv::cli
