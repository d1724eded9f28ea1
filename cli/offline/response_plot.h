// Frequency responses as a drawing over a logarithmic frequency axis: magnitude, what quantising
// changes, phase and group delay. Where a response is silent it has neither phase nor delay, and no
// error if the ideal one is silent too.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dsp_math/cascade_response.h"

namespace orv::cli {

struct ResponseCurve {
  std::string name;  // may be empty if it is the only one
  std::optional<Cascade> ideal;
  std::optional<Cascade> fixed;  // quantised
  std::optional<Cascade> held;   // by a DSP
};

// A frequency that is pointed out: the centre of a band, a corner.
struct ResponseMark {
  double frequency = 0;  // Hz
  std::string text;
};

// A gain whose curve is not known.
struct ResponseGain {
  double frequency = 0;  // Hz
  double decibels = 0;
};

struct ResponsePlot {
  std::string title;
  std::vector<std::string> details;   // lines under the title
  std::vector<std::string> warnings;  // lines below them, in red
  double rate = 48000;                // Hz
  std::vector<ResponseCurve> curves;
  std::vector<ResponseMark> marks;
  std::vector<ResponseGain> gains;
  std::string gains_name;
};

// "left: the quantised filter is silent.", "UNSTABLE ...": what a picture cannot show of the
// curves.
std::vector<std::string> CurveWarnings(const std::vector<ResponseCurve>& curves, double rate);

// A complete SVG document.
std::string DrawResponse(const ResponsePlot& plot);

}  // namespace orv::cli
