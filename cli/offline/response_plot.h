// Draws a frequency response: the magnitude above, the change by quantising below, over a
// logarithmic frequency axis. The error has a gap where both responses are silent.
#pragma once

#include <string>
#include <vector>

namespace orv::cli {

struct ResponsePoint {
  double frequency;  // Hz
  double ideal_db;
  double fixed_db;
};

struct ResponseCurve {
  std::string name;  // may be empty when it is the only one
  std::vector<ResponsePoint> points;
};

struct ResponsePlot {
  std::string title;
  std::vector<std::string> details;  // lines under the title
  std::vector<ResponseCurve> curves;
};

// A complete SVG document.
std::string DrawResponse(const ResponsePlot& plot);

}  // namespace orv::cli
