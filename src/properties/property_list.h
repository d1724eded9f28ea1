// Named property values in a fixed order.
#pragma once

#include <boost/any.hpp>
#include <string>
#include <vector>

namespace orv {

struct ORVPropertyEntry {
  std::wstring name;
  boost::any value;
};

using ORVPropertyList = std::vector<ORVPropertyEntry>;

}  // namespace orv
