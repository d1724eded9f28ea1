// The responses of a filter before and after quantising, and as a DSP holds it: points of a curve
// and the largest difference between two of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/show/output.h"
#include "dsp_math/cascade_response.h"

namespace orv::cli {

// Where responses begin, in Hz, and where they end as a share of the sample rate.
inline constexpr double kLowestFrequency = 10;
inline constexpr double kHighestShare = 0.499;

struct ResponsePoint {
  double frequency;  // Hz
  double ideal_db;
  double fixed_db;
};

inline bool IsSilent(double decibels) { return decibels <= kSilence; }
// Whether nothing passes at any frequency.
bool IsSilent(const Cascade& filter, double rate);

ResponsePoint PointAt(const Cascade& ideal, const Cascade& fixed, double frequency, double rate);

// Frequencies a logarithmic step apart, both ends included.
std::vector<double> ResponseFrequencies(int steps, double rate);

// Where `fixed` is farthest from `ideal`.
struct LargestError {
  Deviation worst{kLowestFrequency, 0};
  ResponsePoint at{kLowestFrequency, 0, 0};

  // Whether one of the two is silent there, so that the error has no size.
  bool ends_in_silence() const { return IsSilent(at.ideal_db) || IsSilent(at.fixed_db); }
};
LargestError FindLargestError(const Cascade& ideal, const Cascade& fixed, double rate);

// "-0.0512 dB at 10 Hz", "below 0.0001 dB", "silent instead of 0.0021 dB at 10 Hz".
std::string LargestErrorText(const LargestError& error);
Json ToJson(const LargestError& error);

// The number with its unit, or "silent".
std::string DecibelText(double decibels, int decimals, const char* unit);
// Null for silence and for what is not a number.
Json DecibelJson(double decibels);

}  // namespace orv::cli
