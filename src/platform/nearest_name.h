// Help with misspelt names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv {

// The name that is closest to a misspelt one, by the number of letters to change; empty if none
// is near enough.
std::string_view NearestName(std::string_view misspelt, const std::vector<std::string_view>& names);

}  // namespace orv
