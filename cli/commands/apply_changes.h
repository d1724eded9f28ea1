// Changes to an endpoint's modes, switches and controls, as commands make them: all or, as far as
// possible, none, read back, and kept for "undo".
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "cli/client/context.h"
#include "cli/client/state.h"

namespace orv::cli {

// How a command makes its changes.
struct Making {
  const char* command = nullptr;  // under which "undo" finds them; null keeps nothing
  bool dry_run = false;           // nothing is changed
  // The writing, if the values are not stored one by one.
  std::function<void()> write = {};
};

// Makes the changes, each mode's controls with one write. A refusal puts back what was changed
// before it, and is thrown. What is read back with another value is reported. Returns the changes
// that were made, without those that change nothing; in a dry run those to make. `modes` are the
// modes that the changes name.
std::vector<Change> MakeChanges(Context& context, const Endpoint& endpoint,
                                const std::vector<Mode>& modes, const std::vector<Change>& changes,
                                const Making& making);

// The changes as the command's result: as a table with their number, or as its JSON value.
void ShowChanges(Context& context, const std::vector<Change>& changes, bool dry_run);
Table ChangesTable(const Catalog& catalog, std::span<const Change> changes);
// "2 changes made.", or what a dry run reports.
std::string ChangesText(std::size_t count, bool dry_run);

}  // namespace orv::cli
