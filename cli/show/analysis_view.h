// The bands of a spectrum, and the live picture of what an endpoint plays as lines of a terminal.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "cli/show/output.h"
#include "platform/terminal.h"

namespace orv::cli {

// A row of a spectrum: a frequency that the user asked for, or a third-octave band.
struct Band {
  std::uint32_t frequency = 0;  // Hz, its name
  // Where its level is read; the highest one counts.
  std::vector<std::uint32_t> points;
  // The first band before this one with the same bins and so always the same level; 0 Hz for a
  // frequency that has the bin of 0 Hz because it is nearer to it than to the next one.
  std::optional<std::uint32_t> same_bins_as;
};

// 50 Hz to 20 kHz by their nominal centres. The points reach every bin of a band.
std::vector<Band> ThirdOctaveBands();

// Whether a stream of this rate (Hz) can have the frequency: above 0 and below half the rate.
bool IsInBand(std::uint32_t frequency, std::uint32_t sample_rate) noexcept;

// "63", "1.25k": short enough for an axis.
std::string ShortFrequency(std::uint32_t frequency);

inline constexpr std::size_t kSpectrumChannels = 2;  // left and right

// A level that the eye can follow: rises at once, falls slowly, keeps its last peak and whether it
// was clipped.
class LevelMeter {
 public:
  static constexpr float kSilence = -std::numeric_limits<float>::infinity();

  // `level` in dB is the highest since the last update, `seconds` ago.
  void Update(float level, double seconds);

  float level() const noexcept { return level_; }  // dB, falling by 24 dB a second
  float hold() const noexcept { return hold_; }    // the highest of the last seconds
  bool clipped() const noexcept { return clip_seconds_ > 0; }

 private:
  float level_ = kSilence;
  float hold_ = kSilence;
  double hold_seconds_ = 0;
  double clip_seconds_ = 0;
};

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

// One frame: the lines over the previous picture, without a blank screen in between. `fresh` clears
// it first, after the size has changed.
std::string FrameText(const std::vector<std::string>& lines, bool fresh);

}  // namespace orv::cli
