// The order in which lists show names.
#pragma once

#include <string_view>

namespace orv::cli {

// Compares the numbers in names as numbers: "Band 2" comes before "Band 10", "300Hz" before "1kHz".
// Letter case counts only between names that are otherwise equal.
struct NaturalOrder {
  bool operator()(std::string_view a, std::string_view b) const noexcept;
};

}  // namespace orv::cli
