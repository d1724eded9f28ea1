// modes, mode, enable, restore
#include "cli/commands.h"
#include "cli/control_view.h"

namespace orv::cli {
namespace {

struct Arguments {
  std::string endpoint;
  std::string mode;
  bool use_default = false;
  std::string state;
};

struct ListedMode {
  std::string name;
  bool current = false;
};

std::vector<ListedMode> ListModes(const Endpoint& endpoint) {
  const std::optional<Mode> current = endpoint.CurrentMode();
  std::vector<ListedMode> modes;
  bool marked = false;  // of several modes with one name the first one counts
  for (const Mode& mode : endpoint.Modes()) {
    const bool is_current = !marked && current && current->name() == mode.name();
    marked = marked || is_current;
    modes.push_back({mode.name(), is_current});
  }
  return modes;
}

void ShowModes(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  if (!context.output.json()) return context.output.Show(ModesTable(endpoint));
  Json array = Json::array();
  for (const ListedMode& mode : ListModes(endpoint))
    array.push_back({{"name", mode.name}, {"current", mode.current}});
  context.output.Value(array);
}

// What was asked for, compared with what is read back.
void ExpectMode(Context& context, const Mode& current, const std::string& wanted) {
  if (current.name() == wanted) return;
  context.output.Remark("The current mode is still " + Printable(current.name()) + ", not " +
                        Printable(wanted) + ": it could not be stored. " +
                        "\"orvctl doctor\" tells whether the endpoint's key may be written.");
  context.exit_status = kDiffering;
}

void ShowOrSwitchMode(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::string wanted;
  if (arguments.use_default) {
    endpoint.SetDefaultMode();
    wanted = context.catalog().DefaultMode(endpoint);
  } else if (!arguments.mode.empty()) {
    const Mode chosen = context.SelectMode(endpoint, arguments.mode);
    endpoint.SetCurrentMode(chosen);
    wanted = chosen.name();
  }
  const Mode mode = context.CurrentMode(endpoint);
  if (!wanted.empty()) ExpectMode(context, mode, wanted);
  if (context.output.json()) return context.output.Value({{"name", mode.name()}});
  context.output.Line(mode.name());
}

// The switch belongs to the endpoint; any mode reaches it, also when the current one is not known.
void ShowOrSwitchProcessing(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::vector<Mode> modes = endpoint.Modes();
  if (modes.empty()) {
    throw Failure(kRefused, endpoint.name() + " has no modes.\n\"orvctl check " +
                                endpoint.ConfigFile() + "\" explains its configuration file.");
  }
  if (!arguments.state.empty()) {
    const bool wanted = arguments.state == "on";
    modes.front().SetEnabled(wanted);
    modes = endpoint.Modes();
    if (modes.front().Enabled() != wanted) context.exit_status = kDiffering;
  }
  const bool enabled = modes.front().Enabled();
  if (context.output.json()) return context.output.Value({{"enabled", enabled}});
  context.output.Line(enabled ? "on" : "off");
}

std::string StillHolds(const std::string& name, const std::string& text,
                       const std::string& wanted) {
  return "\"" + name + "\" still holds " + text + ", its default is " + wanted + ".";
}

void RestoreDefaults(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  mode.RestoreDefaults();
  const auto views = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  const ControlTexts defaults =
      context.catalog().Texts(endpoint, mode.name(), kORVAPO_Cont_Default);
  const ControlTexts stored = context.catalog().Texts(endpoint, mode.name(), kORVAPO_Cont_Public);
  for (const auto& [name, text] : stored) {
    const auto wanted = defaults.find(name);
    if (wanted == defaults.end() || wanted->second == text) continue;
    context.output.Remark(StillHolds(name, text, wanted->second));
    context.exit_status = kDiffering;
  }
  if (context.output.json()) return context.output.Value(ToJson(views));
  ShowControls(context.output, views);
}

}  // namespace

Table ModesTable(const Endpoint& endpoint) {
  Table table({{""}, {"MODE"}});
  for (const ListedMode& mode : ListModes(endpoint))
    table.Add({mode.current ? "*" : "", Cell(mode.name, mode.current ? ansi::kAccent : nullptr)});
  return table;
}

void AddModeCommands(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<Arguments>();

  CLI::App* modes = AddCommand(
      app, "modes", "An endpoint's operating modes, in configuration order", "orvctl modes 0");
  modes->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  modes->callback([&context, arguments] { ShowModes(context, *arguments); });

  CLI::App* mode = AddCommand(app, "mode", "Show, switch or reset the current operating mode",
                              "orvctl mode 0 Movie/Internal\n  orvctl mode 0 --default");
  mode->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  CLI::Option* name = mode->add_option("MODE", arguments->mode,
                                       "Mode: its name or any part of it that fits one mode only");
  mode->add_flag("--default", arguments->use_default, "Back to the configuration's default mode")
      ->excludes(name);
  mode->callback([&context, arguments] { ShowOrSwitchMode(context, *arguments); });

  CLI::App* enable = AddCommand(app, "enable", "Processing on or off, for the whole endpoint",
                                "orvctl enable 0 off");
  enable->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  enable->add_option("STATE", arguments->state, "on or off; shows the switch without it")
      ->check(CLI::IsMember({"on", "off"}));
  enable->callback([&context, arguments] { ShowOrSwitchProcessing(context, *arguments); });

  CLI::App* restore = AddCommand(app, "restore", "Store a mode's defaults again",
                                 "orvctl restore 0 --mode Movie/Internal");
  restore->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  restore->add_option("--mode", arguments->mode, kModeHelp);
  restore->callback([&context, arguments] { RestoreDefaults(context, *arguments); });
}

}  // namespace orv::cli
