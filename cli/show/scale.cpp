#include "cli/show/scale.h"

#include <fmt/format.h>

#include <cmath>

namespace orv::cli {
const char* ScaleWord(ORV_QVT_SCALE scale) {
  static constexpr const char* kWords[] = {"none", "enum", "by100", "db", "custom", "string"};
  return scale >= 0 && scale < ORV_QVT_SCALE_COUNT ? kWords[scale] : "unknown";
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
