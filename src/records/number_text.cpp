#include "records/number_text.h"

#include <charconv>

namespace orv {

std::string DecimalText(double value, int decimals, int fewest) {
  char buffer[400];  // more than the largest number has digits
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  std::string text(buffer, end.ptr);
  if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  for (; decimals > fewest && text.back() == '0'; --decimals) text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string RealText(double value, int digits) {
  char buffer[64];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits);
  return {buffer, end.ptr};
}

std::string OnOffText(std::int64_t value) {
  if (value == 0) return "off";
  return value == 1 ? "on" : std::to_string(value);
}

}  // namespace orv
