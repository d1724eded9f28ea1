// load
#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <map>

#include "cli/client/control_view.h"
#include "cli/client/state.h"
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"
#include "cli/offline/preset.h"
#include "cli/show/names.h"
#include "platform/nearest_name.h"

namespace orv::cli {
namespace {

struct LoadArguments : EndpointArguments {
  std::string file;
  bool dry_run = false;
  bool lenient = false;
};

constexpr std::size_t kMostProblems = 10;  // that are shown

// The changes that apply a preset; what does not fit the endpoint is a problem.
class PresetPlan {
 public:
  PresetPlan(Catalog& catalog, const Endpoint& endpoint, const std::vector<Mode>& modes,
             const Preset& preset) {
    if (preset.current_mode) {
      const std::optional<Mode> current = endpoint.CurrentMode();
      if (std::ranges::find(modes, *preset.current_mode, &Mode::name) == modes.end())
        problems_.push_back(fmt::format("no mode named {} to switch to", *preset.current_mode));
      else
        Add({"mode", "", kCurrentModeName, current ? Json(current->name()) : Json(),
             *preset.current_mode});
    }
    if (preset.enabled && !modes.empty())
      Add({"switch", "", kProcessEnableName, modes.front().Enabled(), *preset.enabled});
    for (const PresetMode& wanted : preset.modes) {
      const auto mode = std::ranges::find(modes, wanted.name, &Mode::name);
      if (mode == modes.end())
        problems_.push_back("no mode named " + wanted.name);
      else
        AddMode(*mode, wanted, ViewControls(catalog, endpoint, *mode, kORVAPO_Cont_Public));
    }
  }

  const std::vector<Change>& changes() const noexcept { return changes_; }
  const std::vector<std::string>& problems() const noexcept { return problems_; }

 private:
  void Add(Change change) {
    if (change.from != change.to) changes_.push_back(std::move(change));
  }

  void AddMode(const Mode& mode, const PresetMode& wanted, const std::vector<ControlView>& views) {
    std::map<std::string_view, const ControlView*> by_name;
    std::vector<std::string_view> names;
    for (const ControlView& view : views) {
      by_name.emplace(view.name, &view);
      names.push_back(view.name);
    }
    for (const auto& [name, value] : wanted.controls) {
      const auto found = by_name.find(name);
      if (found == by_name.end()) {
        const bool is_shown = problems_.size() < kMostProblems;
        const std::string_view nearest = is_shown ? NearestName(name, names) : "";
        problems_.push_back(
            fmt::format("no control named \"{}\" in {}{}", name, ModeLabel(wanted.name),
                        nearest.empty() ? "" : fmt::format("; the nearest is \"{}\"", nearest)));
        continue;
      }
      const ControlView& view = *found->second;
      if (const auto number = Resolve(view, value)) Add(ChangeOf(mode, view, *number));
    }
  }

  // The integer that a preset's value means for the control.
  std::optional<std::int32_t> Resolve(const ControlView& view, const PresetValue& value) {
    try {
      const auto* text = std::get_if<std::string>(&value);
      return ParseValue(view, text != nullptr ? *text : std::to_string(std::get<0>(value)),
                        ReadRawValue, false);
    } catch (const Failure& failure) {
      std::string reason = failure.what();
      boost::replace_first(reason, "\n  ", ": ");  // a list of choices
      boost::replace_all(reason, "\n  ", ", ");
      reason.resize(std::min(reason.find('\n'), reason.size()));
      if (reason.ends_with('.')) reason.pop_back();
      problems_.push_back(reason);
      return std::nullopt;
    }
  }

  std::vector<Change> changes_;
  std::vector<std::string> problems_;
};

// Throws if the preset does not fit and may not be loaded in part.
std::vector<Change> PlanChanges(Context& context, const Endpoint& endpoint,
                                const std::vector<Mode>& modes, const Preset& preset,
                                bool lenient) {
  if (!preset.endpoint.empty() && preset.endpoint != endpoint.name()) {
    context.output.Notice(
        fmt::format("The preset was saved on another endpoint, {}.", Printable(preset.endpoint)));
  }
  const PresetPlan plan(context.catalog(), endpoint, modes, preset);
  const char* const what = lenient ? "Left out: " : "Does not fit: ";
  const std::size_t count = plan.problems().size();
  for (std::size_t i = 0; i < std::min(count, kMostProblems); ++i)
    context.output.Notice(what + plan.problems()[i] + ".");
  if (count > kMostProblems)
    context.output.Notice(fmt::format("{}{} more.", what, count - kMostProblems));
  if (!plan.problems().empty() && !lenient) {
    throw Failure(kDiffering,
                  "the preset does not fit {}; nothing was changed.\n"
                  "--lenient loads what fits.",
                  endpoint.name());
  }
  return plan.changes();
}

void Load(Context& context, const LoadArguments& arguments) {
  const Preset preset = ReadPresetFile(arguments.file);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::optional<ChangeLock> lock;
  if (!arguments.dry_run) lock.emplace(context.LockForChange(endpoint));
  const std::vector<Mode> modes = endpoint.Modes();
  const std::vector<Change> changes =
      PlanChanges(context, endpoint, modes, preset, arguments.lenient);
  ShowChanges(context,
              MakeChanges(context, endpoint, modes, changes,
                          {.command = "load", .dry_run = arguments.dry_run}),
              arguments.dry_run);
}

}  // namespace

void AddLoadCommand(CLI::App& app, Context& context) {
  auto [load, arguments] = AddCommand(
      app, context, Load,
      {"load", "Apply a preset", "orvctl load 0 evening.json --dry-run",
       "A broken file is refused with exit status 1, one that does not fit the endpoint with 3; "
       "nothing is changed then.",
       "an array of {mode, name, from, to, from_text, to_text, unit}"});
  load.add_option("FILE", arguments.file, "The preset; - is standard input")->required();
  load.add_flag("--dry-run", arguments.dry_run, "Only show the changes");
  load.add_flag("--lenient", arguments.lenient,
                "Leave out modes, controls and values that do not fit");
}

}  // namespace orv::cli
