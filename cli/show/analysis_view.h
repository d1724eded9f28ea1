// The bands of a spectrum, and the live picture of what an endpoint plays as lines of a terminal.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "cli/show/screen.h"

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

// What the live view shows.
struct AnalysisPicture {
  std::string title;
  std::size_t channels = 0;       // of the stream
  std::vector<LevelMeter> peaks;  // by channel, those that the component reports
  std::vector<Band> bands;
  std::vector<std::vector<LevelMeter>> spectrum;  // by channel and band
  float floor = -90;                              // dB, the foot of both scales
  bool frozen = false;
  bool silent = false;
};

// The next lower or higher foot of the scales, from -120 to -30 dB.
float WiderFloor(float floor);
float NarrowerFloor(float floor);

// "L", "R", "C", "LFE", ... for the usual layouts of up to eight channels, else its number from 1.
std::string ChannelName(std::size_t channel, std::size_t channels);
// "-12.3 dB", "silence".
std::string LevelText(float level);

// How a picture is drawn.
struct PictureStyle {
  bool colour = false;
  bool utf8 = false;  // else with ASCII characters
};
// The picture for a terminal of this size, whose last column stays free. What does not fit is left
// out: the keys, the scale, the bars, the spectrum, in this order.
Screen DrawAnalysis(const AnalysisPicture& picture, const TerminalSize& size,
                    const PictureStyle& style);

}  // namespace orv::cli
