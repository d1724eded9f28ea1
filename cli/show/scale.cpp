#include "cli/show/scale.h"

#include <cstdio>
#include <cstdlib>

namespace orv::cli {
namespace {

// Steps are shown with as many decimals as the factor has zeros; any other factor shows the steps.
int DecimalSteps(float factor) {
  for (const int steps : {10, 100, 1000})
    if (factor == static_cast<float>(steps)) return steps;
  return 1;
}

}  // namespace

const char* ScaleWord(ORV_QVT_SCALE scale) {
  static constexpr const char* kWords[] = {"none", "enum", "by100", "db", "custom", "string"};
  return scale >= 0 && scale < ORV_QVT_SCALE_COUNT ? kWords[scale] : "unknown";
}

std::string NumberText(std::int32_t value, ORV_QVT_SCALE scale, float factor) {
  const bool decibels = scale == ORV_QVT_SCALE_DB;
  if (!decibels && scale != ORV_QVT_SCALE_BY100) return std::to_string(value);
  const int steps = scale == ORV_QVT_SCALE_BY100 ? 100 : DecimalSteps(factor);
  std::string text = value < 0 ? "-" : "";
  const long long magnitude = std::llabs(value);
  text += std::to_string(magnitude / steps);
  if (steps > 1) {
    const std::string fraction = std::to_string(steps + magnitude % steps);
    text += "." + fraction.substr(1);
  }
  return decibels ? text + " dB" : text;
}

std::string ValueText(std::int32_t value, ORV_QVT_SCALE scale, float factor,
                      const std::vector<std::string>& choices) {
  if (value >= 0 && static_cast<std::size_t>(value) < choices.size())
    return choices[static_cast<std::size_t>(value)];
  return NumberText(value, scale, factor);
}

std::string Decimals(double number, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, number);
  std::string result = text;
  if (result.find_first_not_of("-0.") == std::string::npos && result[0] == '-') result.erase(0, 1);
  return result;
}

std::string HertzText(double frequency) {
  const bool kilo = frequency >= 1000;
  std::string digits = Decimals(kilo ? frequency / 1000 : frequency, 2);
  while (digits.back() == '0') digits.pop_back();
  if (digits.back() == '.') digits.pop_back();
  return digits + (kilo ? " kHz" : " Hz");
}

}  // namespace orv::cli
