#include "cli/show/natural_order.h"

#include <algorithm>
#include <charconv>

#include "platform/text.h"

namespace orv::cli {
namespace {

bool BeginsNumber(char c) { return c >= '0' && c <= '9'; }

// Removes the number that the text begins with, and returns it; in Hz if it is in kHz.
double TakeNumber(std::string_view& text) {
  double number = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number, std::chars_format::fixed);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return text.starts_with("kHz") ? number * 1000 : number;
}

// Negative, 0 or positive, as the first names' order is.
double Compare(std::string_view a, std::string_view b) {
  // Names often begin alike. No number goes beyond a blank.
  const auto differing = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
  const std::size_t word = a.substr(0, differing).rfind(' ') + 1;
  a.remove_prefix(word);
  b.remove_prefix(word);
  while (!a.empty() && !b.empty()) {
    if (BeginsNumber(a.front()) && BeginsNumber(b.front())) {
      const double difference = TakeNumber(a) - TakeNumber(b);
      if (difference != 0) return difference;
    } else {
      const int difference = FoldAscii(static_cast<unsigned char>(a.front())) -
                             FoldAscii(static_cast<unsigned char>(b.front()));
      if (difference != 0) return difference;
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  return static_cast<double>(a.size()) - static_cast<double>(b.size());
}

}  // namespace

bool NaturalOrder::operator()(std::string_view a, std::string_view b) const noexcept {
  const double order = Compare(a, b);
  return order < 0 || (order == 0 && a < b);
}

}  // namespace orv::cli
