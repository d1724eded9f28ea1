// Where the technology library is looked for.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/client/session.h"
#include "config/technology_library.h"

namespace orv::cli {

// With a backslash at its end, unless it is empty.
std::wstring AsFolder(std::wstring path);

// The library's folder as the first of the endpoints (identifiers) names it, else the system
// directory; empty when there is neither.
std::wstring FindTechnologyFolder(Machine& machine, const std::vector<std::string>& endpoints);

// The library whose folder the options name, or that of the system directory when there is one;
// null when it describes no control. Throws Failure when what the options name is not there.
std::unique_ptr<ORVAPOProcessInfo> OpenTechnology(const SessionOptions& options);

}  // namespace orv::cli
