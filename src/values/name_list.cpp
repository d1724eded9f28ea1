#include "values/name_list.h"

#include <algorithm>

namespace orv {

bool ORVQVTNameList::Contains(const std::string& text) const {
  return std::find(names_.begin(), names_.end(), text) != names_.end();
}

void ORVQVTNameList::Remove(const std::string& text) {
  const auto found = std::find(names_.begin(), names_.end(), text);
  if (found != names_.end()) names_.erase(found);
}

}  // namespace orv
