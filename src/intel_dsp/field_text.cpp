#include "intel_dsp/field_text.h"

#include <charconv>
#include <cmath>

namespace orv {
namespace {

constexpr int kRealDigits = 7;

std::string CodeText(std::int64_t code) { return "code " + std::to_string(code); }

}  // namespace

std::string DecimalText(double value, int decimals) {
  char buffer[400];  // more than the largest number has digits
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  const std::string text(buffer, end.ptr);
  return text.find_first_not_of("-0.") == std::string::npos && text.front() == '-' ? text.substr(1)
                                                                                   : text;
}

std::string RealText(double value) {
  char buffer[64];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, kRealDigits);
  return {buffer, end.ptr};
}

std::string OnOffText(std::int64_t value) {
  if (value == 0) return "off";
  return value == 1 ? "on" : std::to_string(value);
}

std::string DecibelText(double linear) {
  if (linear < 0) return "linear " + RealText(linear);
  if (linear == 0) return "-inf dB";
  return DecimalText(20 * std::log10(linear), 1) + " dB";
}

std::string PercentText(double fraction) {
  std::string text = DecimalText(100 * fraction, 1);
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text + " %";
}

std::string FrequencyCodeText(std::int64_t code, std::span<const int> frequencies) {
  if (code == kCustomSizeCode) return "custom";
  if (code < 0 || code >= static_cast<std::int64_t>(frequencies.size())) return CodeText(code);
  return std::to_string(frequencies[static_cast<std::size_t>(code)]) + " Hz";
}

std::string ChoiceText(std::int64_t code, const EnumTable& names, const std::string& prefix) {
  for (const auto& [name, number] : names) {
    if (number == code && name.starts_with(prefix)) return name;
  }
  return CodeText(code);
}

}  // namespace orv
