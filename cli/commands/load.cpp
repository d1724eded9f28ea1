// load
#include <algorithm>

#include "cli/client/control_view.h"
#include "cli/client/state.h"
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/preset.h"

namespace orv::cli {
namespace {

struct LoadArguments : EndpointArguments {
  std::string file;
  bool dry_run = false;
  bool lenient = false;
};

// The endpoint's state with a preset in it; what does not fit the endpoint is a problem.
struct PresetTarget {
  EndpointState state;
  std::vector<std::string> problems;

  // The integer that a preset's value means for the control.
  std::optional<std::int32_t> Resolve(const ControlView& view, const PresetValue& value) {
    try {
      const auto* text = std::get_if<std::string>(&value);
      return ParseValue(view, text != nullptr ? *text : std::to_string(std::get<0>(value)),
                        ReadRawValue, false);
    } catch (const Failure& failure) {
      std::string reason = failure.what();
      reason.resize(std::min(reason.find('\n'), reason.size()));
      if (reason.ends_with('.')) reason.pop_back();
      problems.push_back(reason);
      return std::nullopt;
    }
  }

  void AddMode(const PresetMode& wanted, const std::vector<ControlView>& views, ModeState& mode) {
    for (const auto& [name, value] : wanted.controls) {
      const ControlView* view = FindView(views, name);
      if (view == nullptr)
        problems.push_back(fmt::format("no control named \"{}\" in {}", name, mode.name));
      else if (const auto number = Resolve(*view, value))
        mode.controls[name] = *number;
    }
  }

  void Add(Catalog& catalog, const Endpoint& endpoint, const Preset& preset) {
    const std::vector<Mode> modes = endpoint.Modes();
    if (preset.enabled) state.enabled = preset.enabled;
    if (preset.current_mode) {
      if (std::ranges::find(modes, *preset.current_mode, &Mode::name) != modes.end())
        state.current_mode = preset.current_mode;
      else
        problems.push_back(fmt::format("no mode named {} to switch to", *preset.current_mode));
    }
    for (const PresetMode& wanted : preset.modes) {
      const auto mode = std::ranges::find(modes, wanted.name, &Mode::name);
      const auto target = std::ranges::find(state.modes, wanted.name, &ModeState::name);
      if (mode == modes.end() || target == state.modes.end())
        problems.push_back("no mode named " + wanted.name);
      else
        AddMode(wanted, ViewControls(catalog, endpoint, *mode, kORVAPO_Cont_Public), *target);
    }
  }
};

// Throws if the preset does not fit and may not be loaded in part.
EndpointState PlanTarget(Context& context, const Endpoint& endpoint, const EndpointState& current,
                         const Preset& preset, bool lenient) {
  PresetTarget target{current, {}};
  target.Add(context.catalog(), endpoint, preset);
  for (const std::string& problem : target.problems)
    context.output.Notice((lenient ? "Left out: " : "Does not fit: ") + problem + ".");
  if (!target.problems.empty() && !lenient) {
    throw Failure(kDiffering,
                  "the preset does not fit {}; nothing was changed.\n"
                  "--lenient loads what fits.",
                  endpoint.name());
  }
  return target.state;
}

void Load(Context& context, const LoadArguments& arguments) {
  PresetError error;
  const std::optional<Preset> preset =
      ReadPreset(ReadWholeFile(arguments.file, kPresetSizeLimit), error);
  if (!preset) {
    throw Failure(kRefused, "{}:{}: {}\nThe preset is refused; nothing was changed.",
                  arguments.file, error.line, error.reason);
  }
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::optional<ChangeLock> lock;
  if (!arguments.dry_run) lock.emplace(context.session().machine_folder(), endpoint.RegistryPath());
  const EndpointState current = ReadState(context.catalog(), endpoint);
  const EndpointState target = PlanTarget(context, endpoint, current, *preset, arguments.lenient);
  std::vector<Change> changes = Differences(current, target);
  if (!arguments.dry_run) {
    ReportLeft(context, ApplyChanges(context.catalog(), endpoint, changes, target), changes);
    context.Keep(endpoint, "load", changes);
  }
  if (context.output.json()) return context.output.Value(ToJson(changes));
  ShowChanges(context.output, changes, arguments.dry_run);
}

}  // namespace

void AddLoadCommand(CLI::App& app, Context& context) {
  auto [load, arguments] = AddCommand(
      app, context, Load,
      {"load", "Apply a preset", "orvctl load 0 evening.json --dry-run",
       "A broken file is refused with exit status 1, one that does not fit the endpoint with 3;\n"
       "nothing is changed then."});
  load.add_option("FILE", arguments.file, "The preset; - is standard input")->required();
  load.add_flag("--dry-run", arguments.dry_run, "Only show the changes");
  load.add_flag("--lenient", arguments.lenient,
                "Leave out modes, controls and values that do not fit");
}

}  // namespace orv::cli
