// controls, get, set, restore
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

constexpr CommandText kListControlsText = {
    "controls", "The controls of a mode",
    "orvctl controls 0 --mode Movie/Internal\n  orvctl --json controls 0 --list default",
    "The component does not report values of private controls: the values shown are those of "
    "the configuration file."};

struct ControlsArguments : ModeArguments {
  std::string list = "public";
};

void ListControls(Context& context, const ControlsArguments& arguments) {
  const ORVAPOControlType list = ParseListName(arguments.list);
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const std::vector<ControlView> views = ViewControls(context.catalog(), endpoint, mode, list);
  if (context.output.json()) return context.output.Value(ToJson(views));
  context.output.Line(context.output.Painted(mode.name(), ansi::kBold));
  ShowControls(context.output, views);
}

struct ControlArguments : ModeArguments {
  std::string control;
};

void GetControl(Context& context, const ControlArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  ShowControl(context.output, FindControl(context.catalog(), endpoint, mode, arguments.control));
}

struct SetArguments : ControlArguments {
  std::string value;
  bool raw = false;
  bool force = false;
};

void StoreValue(const Mode& mode, const std::string& name, std::int32_t value) {
  std::optional<Control> control = mode.Controls(kORVAPO_Cont_Public).Find(name);
  if (!control) control = mode.Controls(kORVAPO_Cont_Private).Find(name);
  if (!control) ComponentFailure("finding \"" + name + "\"", orv_apo::kNotFound, "");
  control->SetValue(value);
}

void SetControl(Context& context, const SetArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const ControlView before = FindControl(context.catalog(), endpoint, mode, arguments.control);
  const std::int32_t value = ParseValue(
      before, arguments.value, arguments.raw ? ReadRawValue : ReadTypedValue, arguments.force);
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
  if (after.value && after.value != before.value) {
    const Json from = before.value ? Json(*before.value) : Json();
    context.Keep(endpoint, "set", {{"control", mode.name(), after.name, from, *after.value}});
  }
  ShowControl(context.output, after);
}

void RestoreDefaults(Context& context, const ModeArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  Catalog& catalog = context.catalog();
  const ControlTexts defaults = catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Default);
  const EndpointState before{{}, {}, {ReadModeState(catalog, endpoint, mode)}};
  ControlTexts unrestored;  // what is found instead of the default
  ChangeAndVerify([&] {
    mode.RestoreDefaults();
    unrestored = catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Public);
    std::erase_if(unrestored, [&](const auto& found) {
      const auto wanted = defaults.find(found.first);
      return wanted == defaults.end() || wanted->second == found.second;
    });
    return unrestored.empty();
  });
  const EndpointState after{{}, {}, {ReadModeState(catalog, endpoint, mode)}};
  context.Keep(endpoint, "restore", Differences(before, after));
  for (const auto& [name, found] : unrestored)
    ReportDifference(context, name, "its default, " + defaults.at(name), found);
  const auto views = ViewControls(catalog, endpoint, mode, kORVAPO_Cont_Public);
  if (context.output.json()) return context.output.Value(ToJson(views));
  ShowControls(context.output, views);
}

}  // namespace

void AddControlsCommand(CLI::App& app, Context& context) {
  auto [controls, arguments] = AddCommand(app, context, ListControls, kListControlsText);
  controls.add_option("--list", arguments.list, "public, private or default")
      ->capture_default_str();
}

void AddGetCommand(CLI::App& app, Context& context) {
  auto [get, arguments] = AddCommand(
      app, context, GetControl, {"get", "One control", "orvctl get 0 \"VQ3D-Process Enable\""});
  get.add_option("CONTROL", arguments.control, kControlHelp)->required();
}

void AddSetCommand(CLI::App& app, Context& context) {
  auto [set, arguments] = AddCommand(
      app, context, SetControl,
      {"set", "Change one control",
       "orvctl set 0 \"VQ3D-Process Enable\" on\n  orvctl set 0 \"VQ3D-AEQ Bypass Gain\" -6dB"});
  set.add_option("CONTROL", arguments.control, kControlHelp)->required();
  set.add_option("VALUE", arguments.value,
                 "As shown (\"-3.5 dB\", 200Hz, a choice), on, off, toggle, or a step: +=3dB")
      ->required();
  set.add_flag("--raw", arguments.raw, "VALUE is the stored number, in the control's own steps");
  set.add_flag("--force", arguments.force, "Store a number outside the control's range too");
}

void AddRestoreCommand(CLI::App& app, Context& context) {
  AddCommand(
      app, context, RestoreDefaults,
      {"restore", "Store a mode's defaults again", "orvctl restore 0 --mode Movie/Internal"});
}

}  // namespace orv::cli
