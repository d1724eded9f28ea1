// Numbers of records as text, the same in every locale.
#pragma once

#include <cstdint>
#include <string>

namespace orv {

// At most so many decimals; zeros at the end are left out down to `fewest`. Never "-0".
std::string DecimalText(double value, int decimals, int fewest);
std::string RealText(double value, int digits);
// "on", "off", or the number if it is neither 1 nor 0.
std::string OnOffText(std::int64_t value);

}  // namespace orv
