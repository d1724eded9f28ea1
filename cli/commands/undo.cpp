// undo
#include <fmt/format.h>

#include <algorithm>

#include "cli/client/journal.h"
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct UndoArguments : EndpointArguments {
  bool list = false;
  bool dry_run = false;
  bool force = false;
};

// Where the state holds what the change is about; null if it does not.
std::int32_t* HeldNumber(EndpointState& state, const Change& change) {
  const auto mode = std::ranges::find(state.modes, change.mode, &ModeState::name);
  if (mode == state.modes.end()) return nullptr;
  const auto control = mode->controls.find(change.name);
  return control != mode->controls.end() ? &control->second : nullptr;
}

Json Held(EndpointState& state, const Change& change) {
  if (change.what == "mode") return state.current_mode ? Json(*state.current_mode) : Json();
  if (change.what == "switch") return state.enabled ? Json(*state.enabled) : Json();
  const std::int32_t* number = HeldNumber(state, change);
  return number != nullptr ? Json(*number) : Json();
}

void TakeBack(EndpointState& state, const Change& change) {
  if (change.from.is_string()) state.current_mode = change.from.get<std::string>();
  if (change.from.is_boolean()) state.enabled = change.from.get<bool>();
  if (std::int32_t* number = HeldNumber(state, change);
      number != nullptr && change.from.is_number())
    *number = change.from.get<std::int32_t>();
}

void ListEntries(Context& context, std::vector<JournalEntry> entries) {
  std::ranges::reverse(entries);
  Json array = Json::array();
  Table table({{"TIME"}, {"COMMAND"}, {"MODE"}, {"NAME"}, {"FROM"}, {"TO"}});
  for (const JournalEntry& entry : entries) {
    array.push_back(
        {{"time", entry.time}, {"command", entry.command}, {"changes", ToJson(entry.changes)}});
    for (const Change& change : entry.changes) {
      const bool is_first = &change == &entry.changes.front();
      table.Add({is_first ? entry.time : "", is_first ? entry.command : "", change.mode,
                 change.name, ToText(change.from), ToText(change.to)});
    }
  }
  if (context.output.json()) return context.output.Value(array);
  if (table.empty()) return context.output.Line("No changes to take back.");
  context.output.Show(table);
}

// The endpoint's state without the changes of the entry. Throws Failure if something of it was
// changed since, unless `force`.
EndpointState PlanTarget(Context& context, const EndpointState& current, const JournalEntry& entry,
                         bool force) {
  EndpointState target = current;
  bool is_clean = true;
  for (const Change& change : entry.changes) {
    const Json held = Held(target, change);
    if (change.from.is_null() || held != change.to) {
      is_clean = false;
      const std::string name = change.mode.empty() ? change.name : change.mode + ", " + change.name;
      context.output.Notice(
          change.from.is_null()
              ? fmt::format("{} had no readable value before.", name)
              : fmt::format("{} is {} now, not {}.", name, ToText(held), ToText(change.to)));
    }
    TakeBack(target, change);
  }
  if (!is_clean && !force)
    throw Failure(kDiffering,
                  "the values are not those that \"{}\" left; nothing was changed.\n"
                  "--force takes back what can be taken back.",
                  entry.command);
  return target;
}

void Undo(Context& context, const UndoArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Journal journal = context.JournalOf(endpoint);
  std::vector<JournalEntry> entries = journal.Read();
  if (arguments.list) return ListEntries(context, std::move(entries));
  if (entries.empty())
    throw Failure(kRefused, "there are no changes of orvctl on {} to take back.", endpoint.name());
  const EndpointState current = ReadState(context.catalog(), endpoint);
  const EndpointState target = PlanTarget(context, current, entries.back(), arguments.force);
  std::vector<Change> changes = Differences(current, target);
  if (!arguments.dry_run) {
    const std::vector<Change> left = ApplyChanges(context.catalog(), endpoint, changes, target);
    ReportLeft(context, left, changes);
    if (left.empty()) {
      entries.pop_back();
      journal.Write(entries);
    }
  }
  if (context.output.json()) return context.output.Value(ToJson(changes));
  ShowChanges(context.output, changes, arguments.dry_run);
}

}  // namespace

void AddUndoCommand(CLI::App& app, Context& context) {
  auto [undo, arguments] = AddCommand(
      app, context, Undo,
      {"undo", "Take back the last change that orvctl made",
       "orvctl undo 0\n  orvctl undo 0 --list",
       "Takes back the last set, restore, load, mode, enable or eq import of this program on the\n"
       "endpoint, and verifies it; the next call takes back the one before. Nothing is changed if\n"
       "other programs have changed the same values since (exit status 3)."});
  undo.add_flag("--list", arguments.list, "Only list the changes, the last one first");
  undo.add_flag("--dry-run", arguments.dry_run, "Only show what would change");
  undo.add_flag("--force", arguments.force, "Take back values that were changed since, too");
}

}  // namespace orv::cli
