// Curves over a logarithmic frequency axis, drawn with braille dots (two columns and four rows of
// them to a character) or with plain ASCII characters.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/show/output.h"
#include "cli/show/plot_axis.h"

namespace orv::cli {

struct TextCurve {
  std::function<double(double frequency)> value;  // there is a gap where it is not finite
  const char* colour = nullptr;                   // an ANSI sequence
  char mark = '*';                                // in ASCII
};

struct TextPanel {
  std::string title;
  AxisRange values;
  int rows = 0;
  bool wraps = false;             // a curve that leaves at one edge goes on at the other
  std::vector<TextCurve> curves;  // later ones cover earlier ones
};

struct TextPlot {
  double low = 0;   // Hz
  double high = 0;  // Hz
  std::vector<TextPanel> panels;
};

// Lines of at most `columns`, without their line feeds; none for fewer than 30 columns. The panels
// share the frequency axis, which is below the last one.
std::vector<std::string> DrawPlot(const TextPlot& plot, int columns, bool braille,
                                  const Output& output);

}  // namespace orv::cli
