// undo
#include <fmt/format.h>

#include <algorithm>

#include "cli/client/journal.h"
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"
#include "cli/show/clock.h"
#include "cli/show/names.h"

namespace orv::cli {
namespace {

struct UndoArguments : EndpointArguments {
  bool list = false;
  bool dry_run = false;
  bool force = false;
};

void ListEntries(Context& context, std::vector<JournalEntry> entries) {
  const Catalog& catalog = context.catalog();
  std::ranges::reverse(entries);
  Output& output = context.output;
  if (output.json()) {
    Json array = Json::array();
    for (const JournalEntry& entry : entries)
      array.push_back({{"time", entry.time},
                       {"command", entry.command},
                       {"changes", ToJson(catalog, entry.changes)}});
    return output.Value(array);
  }
  if (entries.empty()) return output.Line("No changes to take back.");
  constexpr std::size_t kMostShown = 8;  // of an entry's changes
  for (const JournalEntry& entry : entries) {
    output.Line(output.Painted(
        LocalFromUtc(Printable(entry.time)) + "  " + Printable(entry.command), ansi::kBold));
    const std::size_t count = entry.changes.size();
    const std::size_t shown = count > kMostShown ? kMostShown - 1 : count;
    output.Show(ChangesTable(catalog, {entry.changes.data(), shown}), 2);
    if (shown != count) output.Line(fmt::format("  and {} more", count - shown));
  }
}

// The changes that take the entry's back. Throws Failure if something of it was changed since,
// unless `force`.
std::vector<Change> PlanReversal(Context& context, const Endpoint& endpoint,
                                 const std::vector<Mode>& modes, const JournalEntry& entry,
                                 bool force) {
  const Catalog& catalog = context.catalog();
  const std::vector<Json> held = ReadHeld(endpoint, modes, entry.changes);
  std::vector<Change> reversal;
  bool is_clean = true;
  for (std::size_t i = 0; i < held.size(); ++i) {
    const Change& change = entry.changes[i];
    if (change.from.is_null() || held[i] != change.to) {
      is_clean = false;
      const std::string name =
          change.mode.empty() ? change.name : ModeLabel(change.mode) + ", " + change.name;
      context.output.Notice(change.from.is_null()
                                ? fmt::format("{} had no readable value before.", name)
                                : fmt::format("{} is {} now, not {}.", name,
                                              ToText(catalog, change, held[i]),
                                              ToText(catalog, change, change.to)));
    }
    if (!change.from.is_null() && held[i] != change.from)
      reversal.push_back({change.what, change.mode, change.name, held[i], change.from});
  }
  if (!is_clean && !force)
    throw Failure(kDiffering,
                  "the values are not those that \"{}\" left; nothing was changed.\n"
                  "--force takes back what can be taken back.",
                  entry.command);
  return reversal;
}

void Undo(Context& context, const UndoArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Journal journal = context.JournalOf(endpoint);
  std::vector<JournalEntry> entries = journal.Read();
  if (arguments.list) return ListEntries(context, std::move(entries));
  if (entries.empty())
    throw Failure(kRefused, "there are no changes of orvctl on {} to take back.", endpoint.name());
  const std::vector<Mode> modes = endpoint.Modes();
  const std::vector<Change> changes =
      PlanReversal(context, endpoint, modes, entries.back(), arguments.force);
  const std::vector<Change> made =
      MakeChanges(context, endpoint, modes, changes, {.dry_run = arguments.dry_run});
  if (!arguments.dry_run && made.size() == changes.size()) {
    entries.pop_back();
    journal.Write(entries);
  }
  ShowChanges(context, made, arguments.dry_run);
}

}  // namespace

void AddUndoCommand(CLI::App& app, Context& context) {
  auto [undo, arguments] = AddCommand(
      app, context, Undo,
      {"undo", "Take back the last change that orvctl made",
       "orvctl undo 0\n  orvctl undo 0 --list",
       "Takes back the last set, restore, load, mode, enable or eq import of this program on the "
       "endpoint, and verifies it; the next undo takes back the one before. Nothing is changed if "
       "other programs have changed the same values since (exit status 3).",
       "an array of {mode, name, from, to, from_text, to_text, unit}; with --list of {time, "
       "command, changes}"});
  undo.add_flag("--list", arguments.list, "Only list the changes, the last one first");
  undo.add_flag("--dry-run", arguments.dry_run, "Only show what would change");
  undo.add_flag("--force", arguments.force, "Take back values that were changed since, too");
}

}  // namespace orv::cli
