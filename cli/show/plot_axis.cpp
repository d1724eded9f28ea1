#include "cli/show/plot_axis.h"

#include <algorithm>
#include <cmath>

#include "cli/show/scale.h"

namespace orv::cli {

double RoundStep(double span, double most) {
  const double power = std::pow(10, std::floor(std::log10(span / most)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (span / (factor * power) <= most) return factor * power;
  return 10 * power;
}

AxisRange RoundRange(double low, double high, double most) {
  const double step = RoundStep(high - low, most);
  return {std::floor(low / step + 1e-9) * step, std::ceil(high / step - 1e-9) * step, step};
}

std::vector<double> LabelledFrequencies(double low, double high) {
  std::vector<double> frequencies;
  for (double decade = 1; decade <= high; decade *= 10)
    for (const double digit : {1, 2, 5})
      if (digit * decade >= low && digit * decade <= high) frequencies.push_back(digit * decade);
  return frequencies;
}

std::string AxisFrequencyText(double frequency) {
  return frequency < 1000 ? Decimals(frequency, 0) : Decimals(frequency / 1000, 0) + "k";
}

std::string AxisValueText(double value, double step, const char* minus) {
  const int decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
  const std::string digits = Decimals(std::abs(value), decimals);
  if (std::abs(value) < step / 2) return digits;
  return (value < 0 ? minus : "+") + digits;
}

}  // namespace orv::cli
