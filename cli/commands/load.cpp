// load
#include <algorithm>

#include "cli/client/control_view.h"
#include "cli/client/state.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/preset.h"

namespace orv::cli {
namespace {

struct LoadArguments {
  std::string endpoint;
  std::string file;
  bool dry_run = false;
  bool lenient = false;
};

// Turns a preset into the state it asks for; what does not fit the endpoint becomes a problem.
class Plan {
 public:
  Plan(Context& context, const Endpoint& endpoint, EndpointState current)
      : context_(context), endpoint_(endpoint), target_(std::move(current)) {}

  const std::vector<std::string>& problems() const noexcept { return problems_; }
  const EndpointState& target() const noexcept { return target_; }

  void Add(const Preset& preset) {
    if (preset.enabled) target_.enabled = preset.enabled;
    const std::vector<Mode> modes = endpoint_.Modes();
    const auto find = [&](const std::string& name) {
      return std::ranges::find(modes, name, &Mode::name);
    };
    if (preset.current_mode) {
      if (find(*preset.current_mode) != modes.end()) {
        target_.current_mode = preset.current_mode;
      } else {
        problems_.push_back("no mode named " + *preset.current_mode + " to switch to");
      }
    }
    for (const PresetMode& wanted : preset.modes) {
      if (const auto mode = find(wanted.name); mode != modes.end()) {
        AddMode(*mode, wanted);
      } else {
        problems_.push_back("no mode named " + wanted.name);
      }
    }
  }

 private:
  void AddMode(const Mode& mode, const PresetMode& wanted) {
    const auto state = std::ranges::find(target_.modes, mode.name(), &ModeState::name);
    const std::vector<ControlView> views =
        ViewControls(context_.catalog(), endpoint_, mode, kORVAPO_Cont_Public);
    for (const auto& control : wanted.controls) {
      const ControlView* view = FindView(views, control.first);
      if (view == nullptr || state == target_.modes.end()) {
        problems_.push_back("no control named \"" + control.first + "\" in " + mode.name());
      } else if (const auto number = Resolve(*view, control.second)) {
        state->controls[control.first] = *number;
      }
    }
  }

  std::optional<std::int32_t> Resolve(const ControlView& view, const PresetValue& value) {
    try {
      const auto* text = std::get_if<std::string>(&value);
      return ParseValue(view, text != nullptr ? *text : std::to_string(std::get<0>(value)), false);
    } catch (const Failure& failure) {
      const std::string reason = failure.what();
      problems_.push_back(reason.substr(0, reason.find('\n')));
      return std::nullopt;
    }
  }

  Context& context_;
  const Endpoint& endpoint_;
  EndpointState target_;
  std::vector<std::string> problems_;
};

void ApplyOne(const Endpoint& endpoint, const std::vector<Mode>& modes,
              const std::string& mode_name, const std::string& name, const Json& value) {
  const auto named = [&](const std::string& wanted) {
    return std::ranges::find(modes, wanted, &Mode::name);
  };
  if (value.is_string()) {
    const auto mode = named(value.get<std::string>());
    if (mode != modes.end()) endpoint.SetCurrentMode(*mode);
  } else if (value.is_boolean()) {
    modes.front().SetEnabled(value.get<bool>());
  } else if (value.is_number()) {
    const auto mode = named(mode_name);
    if (mode == modes.end()) return;
    const std::optional<Control> control = mode->Controls(kORVAPO_Cont_Public).Find(name);
    if (control) control->SetValue(value.get<std::int32_t>());
  }
}

void Undo(const Endpoint& endpoint, const std::vector<Mode>& modes,
          const std::vector<Change>& changes) {
  for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
    try {
      ApplyOne(endpoint, modes, change->mode, change->name, change->from);
    } catch (const Failure&) {
      continue;  // the first refusal is the one to report
    }
  }
}

// All changes or, as far as possible, none: a refusal puts back what was changed before it. Returns
// what still differs from the target at the end.
std::vector<Change> Apply(Catalog& catalog, const Endpoint& endpoint,
                          const std::vector<Change>& changes, const EndpointState& target) {
  const std::vector<Mode> modes = endpoint.Modes();
  std::vector<Change> left = changes;
  std::size_t done = 0;  // of the first attempt
  ChangeAndVerify([&] {
    try {
      for (const Change& change : left) {
        ApplyOne(endpoint, modes, change.mode, change.name, change.to);
        done = std::min(done + 1, changes.size());
      }
    } catch (const Failure&) {
      Undo(endpoint, modes, {changes.begin(), changes.begin() + static_cast<std::ptrdiff_t>(done)});
      throw;
    }
    left = Differences(ReadState(catalog, endpoint), target);
    return left.empty();
  });
  return left;
}

void ShowChanges(Context& context, const std::vector<Change>& changes, bool dry_run) {
  Json array = Json::array();
  Table table({{"MODE"}, {"NAME"}, {"FROM"}, {"TO"}});
  for (const Change& change : changes) {
    array.push_back({{"mode", change.mode.empty() ? Json() : Json(change.mode)},
                     {"name", change.name},
                     {"from", change.from},
                     {"to", change.to}});
    table.Add(
        {change.mode, change.name, ToText(change.from), Cell(ToText(change.to), ansi::kAccent)});
  }
  if (context.output.json()) return context.output.Value(array);
  if (!table.empty()) context.output.Show(table);
  context.output.Line(Counted(changes.size(), "change") +
                      (dry_run ? " to make; nothing was changed." : " made."));
}

// Throws if the preset does not fit and may not be loaded in part.
EndpointState PlanTarget(Context& context, const Endpoint& endpoint, const EndpointState& current,
                         const Preset& preset, bool lenient) {
  Plan plan(context, endpoint, current);
  plan.Add(preset);
  for (const std::string& problem : plan.problems())
    context.output.Notice((lenient ? "Passed over: " : "Does not fit: ") + problem + ".");
  if (!plan.problems().empty() && !lenient) {
    throw Failure(kDiffering, "the preset does not fit " + endpoint.name() +
                                  "; nothing was changed.\n--lenient loads what fits.");
  }
  return plan.target();
}

void Load(Context& context, const LoadArguments& arguments) {
  PresetError error;
  const std::optional<Preset> preset =
      ReadPreset(ReadWholeFile(arguments.file, kPresetSizeLimit), error);
  if (!preset) {
    throw Failure(kRefused, arguments.file + ":" + std::to_string(error.line) + ": " +
                                error.reason + "\nThe preset is refused; nothing was changed.");
  }
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::optional<ChangeLock> lock;
  if (!arguments.dry_run) lock.emplace(context.session().machine_folder(), endpoint.RegistryPath());
  const EndpointState current = ReadState(context.catalog(), endpoint);
  const EndpointState target = PlanTarget(context, endpoint, current, *preset, arguments.lenient);
  std::vector<Change> changes = Differences(current, target);
  if (!arguments.dry_run) {
    for (const Change& left : Apply(context.catalog(), endpoint, changes, target)) {
      ReportDifference(context, left.name, ToText(left.to), ToText(left.from));
      std::erase_if(changes, [&](const Change& change) {
        return change.mode == left.mode && change.name == left.name;
      });
    }
  }
  ShowChanges(context, changes, arguments.dry_run);
}

}  // namespace

void AddLoadCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<LoadArguments>();
  CLI::App* load = AddCommand(app, "load", "Apply a preset", "orvctl load 0 evening.json --dry-run",
                              "A file that is broken is refused with exit status 1, one that does "
                              "not fit the endpoint with "
                              "3;\nnothing is changed then.");
  load->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  load->add_option("FILE", arguments->file, "The preset; - is standard input")->required();
  load->add_flag("--dry-run", arguments->dry_run, "Only say what would change");
  load->add_flag("--lenient", arguments->lenient,
                 "Pass over modes, controls and values that do not fit");
  load->callback([&context, arguments] { Load(context, *arguments); });
}

}  // namespace orv::cli
