#include "platform/nearest_name.h"

#include <algorithm>
#include <numeric>

#include "platform/text.h"

namespace orv {
namespace {

// Letters to insert, remove or replace, without regard to their case.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const bool same = EqualsIgnoringCase(a.substr(i, 1), b.substr(j, 1));
      const std::size_t replaced = diagonal + (same ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string_view NearestName(std::string_view misspelt,
                             const std::vector<std::string_view>& names) {
  std::string_view nearest;
  std::size_t best = std::max<std::size_t>(2, misspelt.size() / 3) + 1;
  for (const std::string_view name : names) {
    // As many letters as one is longer are to be inserted: spares the comparison.
    if (std::max(name.size(), misspelt.size()) >= std::min(name.size(), misspelt.size()) + best)
      continue;
    const std::size_t distance = EditDistance(misspelt, name);
    if (distance >= best) continue;
    best = distance;
    nearest = name;
  }
  return nearest;
}

}  // namespace orv
