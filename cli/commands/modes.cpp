// modes, mode
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"
#include "cli/show/names.h"

namespace orv::cli {
namespace {

// Calls `visit` with each mode's name and whether it is the current one: of several modes with that
// name, the first one.
template <class Visitor>
void VisitModes(const Endpoint& endpoint, Visitor&& visit) {
  std::optional<Mode> current = endpoint.CurrentMode();
  for (const Mode& mode : endpoint.Modes()) {
    const bool is_current = current && current->name() == mode.name();
    visit(mode.name(), is_current);
    if (is_current) current.reset();
  }
}

void ShowModes(Context& context, const EndpointArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  if (!context.output.json()) return context.output.Show(ModesTable(endpoint));
  Json array = Json::array();
  VisitModes(endpoint, [&](const std::string& name, bool is_current) {
    array.push_back({{"name", name}, {"current", is_current}});
  });
  context.output.Value(array);
}

struct SwitchArguments : EndpointArguments {
  std::string mode;
  bool use_default = false;
};

Mode SwitchMode(Context& context, const Endpoint& endpoint, const SwitchArguments& arguments) {
  const ChangeLock lock = context.LockForChange(endpoint);
  const std::optional<Mode> before = endpoint.CurrentMode();
  const Json from = before ? Json(before->name()) : Json();
  const std::vector<Mode> modes = endpoint.Modes();
  Making making = {.command = "mode"};
  std::string wanted;
  if (arguments.use_default) {
    wanted = context.catalog().DefaultMode(endpoint);
    making.write = [&] { endpoint.SetDefaultMode(); };
  } else {
    wanted = context.SelectMode(endpoint, arguments.mode).name();
  }
  MakeChanges(context, endpoint, modes, {{"mode", "", kCurrentModeName, from, wanted}}, making);
  return context.CurrentMode(endpoint);
}

void ShowOrSwitchMode(Context& context, const SwitchArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const bool only_show = arguments.mode.empty() && !arguments.use_default;
  const Mode mode =
      only_show ? context.CurrentMode(endpoint) : SwitchMode(context, endpoint, arguments);
  context.output.Result({{"name", mode.name()}}, ModeLabel(mode.name()));
}

}  // namespace

Table ModesTable(const Endpoint& endpoint) {
  Table table({{""}, {"MODE"}});
  VisitModes(endpoint, [&](const std::string& name, bool is_current) {
    table.Add({is_current ? "*" : "", Cell(ModeLabel(name), is_current ? ansi::kAccent : nullptr)});
  });
  return table;
}

void AddModesCommand(CLI::App& app, Context& context) {
  AddCommand(app, context, ShowModes,
             {"modes", "List an endpoint's operating modes, the current one with a star",
              "orvctl modes 0", "", "an array of {name, current}"});
}

void AddModeCommand(CLI::App& app, Context& context) {
  auto [mode, arguments] =
      AddCommand(app, context, ShowOrSwitchMode,
                 {"mode", "Show, switch or reset the current operating mode",
                  "orvctl mode 0 Movie/Internal\n  orvctl mode 0 --default", "", "{name}"});
  CLI::Option* name = mode.add_option("MODE", arguments.mode,
                                      "The mode's name, or any part of it that no other mode has");
  mode.add_flag("--default", arguments.use_default, "Reset to the configuration's default mode")
      ->excludes(name);
}

}  // namespace orv::cli
