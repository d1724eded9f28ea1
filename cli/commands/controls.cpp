// controls, get, set, restore
#include <algorithm>
#include <set>

#include "cli/client/control_view.h"
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"
#include "cli/offline/assignments.h"
#include "cli/offline/files.h"
#include "cli/show/names.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

constexpr char kControlJson[] =
    "{name, display, value, text, unit, min, max, scale, choices}, or an array of these for "
    "several CONTROLs or a pattern; value, min and max are the stored numbers, scale is none, "
    "enum, by100, db, custom, string or unknown";
constexpr char kChangesJson[] = "an array of {mode, name, from, to, from_text, to_text, unit}";

struct ControlsArguments : ModeArguments {
  std::vector<std::string> controls;
  std::string list = "public";
  bool changed = false;
};

void ListControls(Context& context, const ControlsArguments& arguments) {
  const ORVAPOControlType list = ParseListName(arguments.list);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  std::vector<ControlView> views = ViewControls(context.catalog(), endpoint, mode, list);
  if (!arguments.controls.empty()) KeepFitting(views, arguments.controls, endpoint, mode);
  if (arguments.changed) {
    AddDefaults(context.catalog(), endpoint, mode, views);
    std::erase_if(views, [](const ControlView& view) { return view.text == view.default_text; });
  }
  Output& output = context.output;
  if (output.json()) return output.Value(ToJson(views));
  output.Line(output.Painted(ModeLabel(mode.name()), ansi::kBold));
  if (arguments.changed && views.empty()) return output.Line("All values are the defaults.");
  ShowControls(output, views);
}

struct GetArguments : ModeArguments {
  std::vector<std::string> controls;
  bool value = false;
  bool raw = false;
};

void GetControls(Context& context, const GetArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  ControlFinder finder(context.catalog(), endpoint, mode);
  std::vector<ControlView> views;
  for (const std::string& text : arguments.controls)
    for (ControlView& view : finder.Find(text))
      if (FindView(views, view.name) == nullptr) views.push_back(std::move(view));
  Output& output = context.output;
  const bool is_one = arguments.controls.size() == 1 && !IsPattern(arguments.controls.front());
  if (output.json()) return output.Value(is_one ? ToJson(views.front()) : ToJson(views));
  if (!arguments.value && !arguments.raw) return ShowControls(output, views);
  for (const ControlView& view : views)
    output.Line(arguments.raw && view.numeric ? std::to_string(*view.value) : Printable(view.text));
}

struct SetArguments : ModeArguments {
  std::string control;
  std::vector<std::string> values;
  std::string from;
  bool raw = false;
  bool force = false;
};

constexpr char kExpectedValues[] =
    "expected CONTROL VALUE, CONTROL=VALUE once or more, or --from FILE";

// CONTROL VALUE, or CONTROL=VALUE for each word, or the lines of a file.
std::vector<Assignment> AssignmentsOf(const Context& context, const SetArguments& arguments) {
  if (!arguments.from.empty()) {
    return ReadAssignments(ReadWholeFile(arguments.from, kAssignmentsLimit, context.input),
                           context.input == nullptr ? arguments.from : "");
  }
  if (arguments.control.empty()) UsageFailure("{}.", kExpectedValues);
  const bool is_pair =
      arguments.values.size() == 1 && arguments.control.find('=') == std::string::npos;
  if (is_pair) return {{arguments.control, arguments.values.front(), false, {}}};
  std::vector<std::string> words = arguments.values;
  words.insert(words.begin(), arguments.control);
  std::vector<Assignment> assignments;
  for (const std::string& word : words) {
    const std::optional<Assignment> assignment = SplitAssignment(word);
    if (!assignment) UsageFailure("\"{}\" has no value: {}.", word, kExpectedValues);
    assignments.push_back(*assignment);
  }
  return assignments;
}

struct Plan {
  std::vector<Change> changes;
  std::vector<ControlView> views;  // of the same controls, before them
};

// The changes that all assignments make. Throws a usage failure with what is wrong; after so many
// faults the rest is not looked at.
constexpr std::size_t kMostFaults = 12;
Plan PlanChanges(ControlFinder& finder, const Mode& mode,
                 const std::vector<Assignment>& assignments, const SetArguments& arguments) {
  Plan plan;
  std::set<std::string> names;
  std::vector<std::string> faults;
  std::size_t checked = 0;
  for (const Assignment& assignment : assignments) {
    if (faults.size() == kMostFaults) break;
    ++checked;
    try {
      for (ControlView& view : finder.Find(assignment.control)) {
        if (view.is_private && IsPattern(assignment.control)) continue;  // clients cannot change it
        if (!names.insert(view.name).second) UsageFailure("\"{}\" has two values.", view.name);
        const bool is_raw = arguments.raw || assignment.raw;
        const std::int32_t value = ParseValue(
            view, assignment.value, is_raw ? ReadRawValue : ReadTypedValue, arguments.force);
        plan.changes.push_back(ChangeOf(mode, view, value));
        plan.views.push_back(std::move(view));
      }
    } catch (const Failure& failure) {
      faults.push_back(assignment.place + failure.what());
    }
  }
  if (faults.empty()) return plan;
  if (const std::size_t left = assignments.size() - checked; left != 0)
    faults.push_back(fmt::format("The other {} were not checked.", Counted(left, "value")));
  if (assignments.size() > 1) faults.emplace_back("Nothing was changed.");
  UsageFailure(fmt::format("{}", fmt::join(faults, "\n")));
}

void SetControls(Context& context, const SetArguments& arguments) {
  const std::vector<Assignment> assignments = AssignmentsOf(context, arguments);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  ControlFinder finder(context.catalog(), endpoint, mode, context.naming);
  Plan plan = PlanChanges(finder, mode, assignments, arguments);
  MakeChanges(context, endpoint, {mode}, plan.changes, {.command = "set"});
  std::vector<ControlView>& after = plan.views;
  Reread(after, mode);
  Output& output = context.output;
  const bool is_one =
      arguments.values.size() == 1 && assignments.size() == 1 && !IsPattern(arguments.control);
  if (output.json()) return output.Value(is_one ? ToJson(after.front()) : ToJson(after));
  ShowControls(output, after);
}

struct RestoreArguments : ModeArguments {
  bool dry_run = false;
};

void RestoreDefaults(Context& context, const RestoreArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::optional<ChangeLock> lock;
  if (!arguments.dry_run) lock.emplace(context.LockForChange(endpoint));
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  std::vector<ControlView> views =
      ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  AddDefaults(context.catalog(), endpoint, mode, views);
  std::vector<Change> changes;
  for (const ControlView& view : views) {
    const bool is_default = view.numeric && view.value == view.default_value;
    if (is_default || !view.default_value) continue;
    changes.push_back(ChangeOf(mode, view, *view.default_value));
  }
  // The component stores the private controls with them, also if no public one changes.
  const Making making = {
      .command = "restore", .dry_run = arguments.dry_run, .write = [&] { mode.RestoreDefaults(); }};
  ShowChanges(context, MakeChanges(context, endpoint, {mode}, changes, making), arguments.dry_run);
}

}  // namespace

void AddControlsCommand(CLI::App& app, Context& context) {
  auto [controls, arguments] = AddCommand(
      app, context, ListControls,
      {"controls", "List the controls of a mode",
       "orvctl controls 0 geq --mode Movie/Internal\n  orvctl controls 0 --changed\n"
       "  orvctl --json controls 0 --list default",
       "The component does not report values of private controls: the values shown are those of "
       "the configuration file.",
       "an array of objects as get prints; with --changed also default and default_text"});
  controls.add_option("CONTROL", arguments.controls,
                      "Only controls with this part in their names, or that fit the pattern");
  controls.add_option("--list", arguments.list, "Which controls")
      ->type_name("public|private|default")
      ->capture_default_str();
  controls.add_flag("--changed", arguments.changed,
                    "Only controls whose values are not the defaults, with the defaults");
}

void AddGetCommand(CLI::App& app, Context& context) {
  auto [get, arguments] =
      AddCommand(app, context, GetControls,
                 {"get", "Show one control or several",
                  "orvctl get 0 \"VQ3D-Process Enable\"\n  orvctl get 0 'PEQ Left*Gain' --value",
                  "", kControlJson});
  get.add_option("CONTROL", arguments.controls, kControlHelp)->required();
  get.add_flag("--value", arguments.value, "Only the value, one line for each control");
  get.add_flag("--raw", arguments.raw, "Only the stored number, one line for each control");
}

void AddSetCommand(CLI::App& app, Context& context) {
  auto [set, arguments] = AddCommand(
      app, context, SetControls,
      {"set", "Change controls of a mode, all or none",
       "orvctl set 0 \"VQ3D-Process Enable\" on\n"
       "  orvctl set 0 \"VQ3D-AEQ Bypass Gain=-6dB\" \"VQ3D-DC Level=60\"\n"
       "  orvctl set 0 'PEQ Left*Gain' 0dB\n"
       "  orvctl set 0 --from values.txt",
       "Several controls are given as CONTROL=VALUE, as words or with --from as lines of "
       "a file, in which # begins a line of comment; or as JSON: an object of values by control, "
       "or what \"--json get\" and \"--json controls\" print. A pattern sets all controls "
       "that fit it. Everything is checked before anything is stored, with one write.",
       "what get prints, after the change; an array unless it was CONTROL VALUE"});
  CLI::Option* control = set.add_option("CONTROL", arguments.control, kControlHelp);
  set.add_option("VALUE", arguments.values,
                 "As shown (\"-3.5 dB\", 200Hz, a choice), on, off, toggle, or a step: +=3dB");
  CLI::Option* from =
      set.add_option("--from", arguments.from, "A file of lines CONTROL=VALUE; - is standard input")
          ->type_name("FILE");
  from->excludes(control);
  set.add_flag("--raw", arguments.raw, kRawHelp);
  set.add_flag("--force", arguments.force, "Store a number outside the control's range too");
}

void AddRestoreCommand(CLI::App& app, Context& context) {
  auto [restore, arguments] = AddCommand(
      app, context, RestoreDefaults,
      {"restore", "Store a mode's defaults again",
       "orvctl restore 0 --mode Movie/Internal\n  orvctl restore 0 --dry-run", "", kChangesJson});
  restore.add_flag("--dry-run", arguments.dry_run, "Only show what would change");
}

}  // namespace orv::cli
