// Changes to an endpoint's modes, switches and controls, as "load" and "eq import" make them.
#pragma once

#include <vector>

#include "cli/client/context.h"
#include "cli/client/state.h"

namespace orv::cli {

// All changes or, as far as possible, none: a refusal puts back what was changed before it, and is
// thrown. Returns what still differs from the target at the end.
std::vector<Change> ApplyChanges(Catalog& catalog, const Endpoint& endpoint,
                                 const std::vector<Change>& changes, const EndpointState& target);

// Reports the changes that are left and removes them from those that were made.
void ReportLeft(Context& context, const std::vector<Change>& left, std::vector<Change>& made);

Json ToJson(const std::vector<Change>& changes);
// A table, then how many there are. `dry_run`: they were not made.
void ShowChanges(Output& output, const std::vector<Change>& changes, bool dry_run);

}  // namespace orv::cli
