// controls, get, set
#include <algorithm>

#include "cli/client/control_view.h"
#include "cli/commands/commands.h"
#include "cli/show/remedy.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

struct Arguments {
  std::string endpoint;
  std::string mode;
  std::string list = "public";
  std::string control;
  std::string value;
  bool force = false;
};

const ControlView* FindView(const std::vector<ControlView>& views, const std::string& name) {
  const auto found = std::find_if(views.begin(), views.end(),
                                  [&](const ControlView& view) { return view.name == name; });
  return found != views.end() ? &*found : nullptr;
}

// A control of the mode, public ones first. Usage failure with the nearest name when there is none.
ControlView FindControl(Catalog& catalog, const Endpoint& endpoint, const Mode& mode,
                        const std::string& name) {
  std::vector<std::string> names;
  for (const ORVAPOControlType list : {kORVAPO_Cont_Public, kORVAPO_Cont_Private}) {
    const std::vector<ControlView> views = ViewControls(catalog, endpoint, mode, list);
    if (const ControlView* view = FindView(views, name)) return *view;
    for (const ControlView& view : views) names.push_back(view.name);
  }
  UsageFailure("no control named \"" + name + "\" in " + mode.name() + "." +
               Suggestion(names, name) + "\nWhat lists them: " +
               CommandLine("controls " + endpoint.number() + " --mode " + ShellWord(mode.name())));
}

void Show(Context& context, const ControlView& view) {
  if (context.output.json()) return context.output.Value(ToJson(view));
  ShowControls(context.output, {view});
}

void ListControls(Context& context, const Arguments& arguments) {
  const ORVAPOControlType list = ParseListName(arguments.list);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const std::vector<ControlView> views = ViewControls(context.catalog(), endpoint, mode, list);
  if (context.output.json()) return context.output.Value(ToJson(views));
  context.output.Line(context.output.Painted(mode.name(), ansi::kBold));
  ShowControls(context.output, views);
}

void GetControl(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  Show(context, FindControl(context.catalog(), endpoint, mode, arguments.control));
}

void StoreValue(const Mode& mode, const std::string& name, std::int32_t value) {
  std::optional<Control> control = mode.Controls(kORVAPO_Cont_Public).Find(name);
  if (!control) control = mode.Controls(kORVAPO_Cont_Private).Find(name);
  if (!control) ComponentFailure("finding \"" + name + "\"", orv_apo::kNotFound, "");
  control->SetValue(value);
}

void SetControl(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const ControlView before = FindControl(context.catalog(), endpoint, mode, arguments.control);
  const std::int32_t value = ParseValue(before, arguments.value, arguments.force);
  ControlView after;
  const bool stored = ChangeAndVerify([&] {
    StoreValue(mode, before.name, value);
    after = FindControl(context.catalog(), endpoint, mode, before.name);
    return after.value == value;
  });
  if (!stored) {
    ReportDifference(context, before.name, std::to_string(value),
                     after.value ? std::to_string(*after.value) : "\"" + after.text + "\"");
  }
  Show(context, after);
}

}  // namespace

void AddControlCommands(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<Arguments>();

  CLI::App* controls = AddCommand(
      app, "controls", "The controls of a mode",
      "orvctl controls 0 --mode Movie/Internal\n  orvctl --json controls 0 --list default",
      "The component tells no values of private controls: shown is what the configuration file "
      "says.");
  controls->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  controls->add_option("--mode", arguments->mode, kModeHelp);
  controls->add_option("--list", arguments->list, "public, private or default")
      ->capture_default_str();
  controls->callback([&context, arguments] { ListControls(context, *arguments); });

  CLI::App* get = AddCommand(app, "get", "One control", "orvctl get 0 \"VQ3D-Process Enable\"");
  get->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  get->add_option("CONTROL", arguments->control, kControlHelp)->required();
  get->add_option("--mode", arguments->mode, kModeHelp);
  get->callback([&context, arguments] { GetControl(context, *arguments); });

  CLI::App* set =
      AddCommand(app, "set", "Change one control", "orvctl set 0 \"VQ3D-Process Enable\" Enabled");
  set->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  set->add_option("CONTROL", arguments->control, kControlHelp)->required();
  set->add_option("VALUE", arguments->value,
                  "A whole number in the control's own steps, or one of its choices")
      ->required();
  set->add_option("--mode", arguments->mode, kModeHelp);
  set->add_flag("--force", arguments->force, "Store a number outside the control's range too");
  set->callback([&context, arguments] { SetControl(context, *arguments); });
}

}  // namespace orv::cli
