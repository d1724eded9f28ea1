// The axes of plots: round steps and labels.
#pragma once

#include <string>
#include <vector>

namespace orv::cli {

struct AxisRange {
  double low = 0;
  double high = 0;
  double step = 0;  // between labels
};

// The smallest of 1, 2, 5 times a power of ten that takes at most `most` steps for the span.
double RoundStep(double span, double most);
// Whole steps around the values.
AxisRange RoundRange(double low, double high, double most);
// The frequencies of an axis from `low` to `high` Hz that have a label: 1, 2 and 5 in each decade.
std::vector<double> LabelledFrequencies(double low, double high);
// "200", "2k".
std::string AxisFrequencyText(double frequency);
// With a sign and the decimals that the step needs.
std::string AxisValueText(double value, double step, const char* minus);

}  // namespace orv::cli
