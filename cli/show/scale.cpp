#include "cli/show/scale.h"

#include <fmt/format.h>

#include <cmath>

namespace orv::cli {
namespace {

// Decimals that show one step; a factor that is not a small power of ten shows the steps.
int StepDecimals(ORV_QVT_SCALE scale, float factor) {
  if (scale == ORV_QVT_SCALE_BY100 || factor == 100) return 2;
  return factor == 10 ? 1 : factor == 1000 ? 3 : 0;
}

}  // namespace

const char* ScaleWord(ORV_QVT_SCALE scale) {
  static constexpr const char* kWords[] = {"none", "enum", "by100", "db", "custom", "string"};
  return scale >= 0 && scale < ORV_QVT_SCALE_COUNT ? kWords[scale] : "unknown";
}

std::string NumberText(std::int32_t value, ORV_QVT_SCALE scale, float factor) {
  const bool is_decibels = scale == ORV_QVT_SCALE_DB;
  if (!is_decibels && scale != ORV_QVT_SCALE_BY100) return std::to_string(value);
  const int decimals = StepDecimals(scale, factor);
  return Decimals(value / std::pow(10, decimals), decimals) + (is_decibels ? " dB" : "");
}

std::string ValueText(std::int32_t value, ORV_QVT_SCALE scale, float factor,
                      const std::vector<std::string>& choices) {
  if (value >= 0 && static_cast<std::size_t>(value) < choices.size())
    return choices[static_cast<std::size_t>(value)];
  return NumberText(value, scale, factor);
}

std::string Decimals(double number, int decimals) {
  std::string text = fmt::format("{:.{}f}", number, decimals);
  if (text[0] == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  return text;
}

std::string HertzText(double frequency) {
  const bool is_kilo = frequency >= 1000;
  const double hundredths = std::round((is_kilo ? frequency / 1000 : frequency) * 100);
  return fmt::format("{} {}", hundredths / 100, is_kilo ? "kHz" : "Hz");
}

}  // namespace orv::cli
