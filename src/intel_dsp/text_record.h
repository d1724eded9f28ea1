// Narrow text in records of fixed size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace orv {

// Ends at the first zero, if there is one.
template <std::size_t N>
std::string TextOf(const char (&text)[N]) {
  return std::string(text, std::find(text, text + N, '\0'));
}

}  // namespace orv
