#include "cli/commands/apply_changes.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "cli/client/diagnostic_lines.h"
#include "cli/commands/commands.h"
#include "cli/show/names.h"

namespace orv::cli {
namespace {

// Changes that are made with one request: the controls of one mode, or one other change.
using Step = std::span<const Change>;

std::vector<Step> StepsOf(const std::vector<Change>& changes) {
  std::vector<Step> steps;
  for (auto first = changes.begin(); first != changes.end();) {
    const auto last = std::find_if(first + 1, changes.end(), [&](const Change& next) {
      return first->mode.empty() || next.mode != first->mode;
    });
    steps.emplace_back(first, last);
    first = last;
  }
  return steps;
}

// Makes the step, or with `&Change::from` takes it back. What had no value keeps its present one.
void Take(const Endpoint& endpoint, const std::vector<Mode>& modes, Step step,
          const Json Change::*side) {
  const Json& value = step.front().*side;
  if (value.is_boolean()) return modes.front().SetEnabled(value.get<bool>());
  const std::string name = value.is_string() ? value.get<std::string>() : step.front().mode;
  const auto mode = std::ranges::find(modes, name, &Mode::name);
  if (mode == modes.end()) return;
  if (value.is_string()) return endpoint.SetCurrentMode(*mode);
  std::map<std::string, std::int32_t> values;
  for (const Change& change : step)
    if ((change.*side).is_number()) values[change.name] = (change.*side).get<std::int32_t>();
  mode->Store(values);
}

// Takes the steps back, the last one first, and returns the words for it.
std::string TakeBack(const Endpoint& endpoint, const std::vector<Mode>& modes,
                     std::vector<Step> steps) {
  if (steps.empty()) return "\nNothing was changed.";
  std::ranges::reverse(steps);
  bool complete = true;
  for (const Step step : steps) {
    try {
      Take(endpoint, modes, step, &Change::from);
    } catch (const Failure&) {
      complete = false;  // the first refusal is the one to report
    }
  }
  return complete ? "\nWhat was changed before it was taken back."
                  : "\nNot everything that was changed before it could be taken back.";
}

// For -v: each value that was written, and where.
void ReportWritten(const Endpoint& endpoint, const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    TakeDiagnosticLine(fmt::format("orvctl | wrote {} = {} | HKEY_LOCAL_MACHINE\\{}, {}",
                                   change.name, ToText(change.to), endpoint.RegistryPath(),
                                   ValueOf(change)));
  }
}

// Those that are not there, each with what was read back in `from`.
std::vector<Change> FindMissing(const Endpoint& endpoint, const std::vector<Mode>& modes,
                                const std::vector<Change>& changes) {
  const std::vector<Json> held = ReadHeld(endpoint, modes, changes);
  std::vector<Change> missing;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if (held[i] == changes[i].to) continue;
    missing.push_back(changes[i]);
    missing.back().from = held[i];
  }
  return missing;
}

// Returns what is missing at the end.
std::vector<Change> WriteAndVerify(const Endpoint& endpoint, const std::vector<Mode>& modes,
                                   const std::vector<Change>& changes, const Making& making) {
  const std::vector<Step> steps = StepsOf(changes);
  std::size_t done = 0;  // steps, of the first attempt
  std::vector<Change> missing;
  ChangeAndVerify([&] {
    try {
      if (making.write) making.write();
      for (std::size_t i = 0; !making.write && i < steps.size(); ++i) {
        Take(endpoint, modes, steps[i], &Change::to);
        done = std::max(done, i + 1);
      }
    } catch (const Failure& refusal) {
      if (making.write) throw;
      const auto last = steps.begin() + static_cast<std::ptrdiff_t>(done);
      throw Failure(refusal.exit_status(),
                    refusal.what() + TakeBack(endpoint, modes, {steps.begin(), last}));
    }
    ReportWritten(endpoint, changes);
    missing = FindMissing(endpoint, modes, changes);
    return missing.empty();
  });
  return missing;
}

[[noreturn]] void NothingStored(const Catalog& catalog, const Endpoint& endpoint,
                                const std::vector<Change>& missing) {
  const Change& one = missing.front();
  const std::string values =
      missing.size() > 1
          ? fmt::format("{} values are as before", missing.size())
          : fmt::format("\"{}\" is still {}, not {}", one.name, ToText(catalog, one, one.from),
                        ToText(catalog, one, one.to));
  throw Failure(kRefused, "nothing was stored: {}.\nWhat examines the endpoint: {}", values,
                CommandLine("doctor " + endpoint.number()));
}

}  // namespace

std::vector<Change> MakeChanges(Context& context, const Endpoint& endpoint,
                                const std::vector<Mode>& modes, const std::vector<Change>& changes,
                                const Making& making) {
  std::vector<Change> made = changes;
  if (!making.dry_run) {
    const Catalog& catalog = context.catalog();
    const std::vector<Change> missing = WriteAndVerify(endpoint, modes, changes, making);
    if (making.write && !missing.empty() && missing.size() == changes.size())
      NothingStored(catalog, endpoint, missing);
    for (const Change& one : missing) {
      ReportDifference(context, one.name, ToText(catalog, one, one.to),
                       ToText(catalog, one, one.from));
      std::erase_if(made, [&](const Change& change) {
        return change.mode == one.mode && change.name == one.name;
      });
    }
  }
  std::erase_if(made, [](const Change& change) { return change.from == change.to; });
  if (!making.dry_run && making.command != nullptr) context.Keep(endpoint, making.command, made);
  return made;
}

Table ChangesTable(const Catalog& catalog, std::span<const Change> changes) {
  Table table({{"MODE"}, {"NAME"}, {"FROM"}, {"TO"}});
  for (const Change& change : changes)
    table.Add({ModeLabel(change.mode), change.name, ToText(catalog, change, change.from),
               Cell(ToText(catalog, change, change.to), ansi::kAccent)});
  return table;
}

std::string ChangesText(std::size_t count, bool dry_run) {
  return Counted(count, "change") + (dry_run ? " to make; nothing was changed." : " made.");
}

void ShowChanges(Context& context, const std::vector<Change>& changes, bool dry_run) {
  Output& output = context.output;
  const Catalog& catalog = context.catalog();
  if (output.json()) return output.Value(ToJson(catalog, changes));
  if (!changes.empty()) output.Show(ChangesTable(catalog, changes));
  output.Line(ChangesText(changes.size(), dry_run));
}

}  // namespace orv::cli
