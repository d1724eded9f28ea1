// modes, mode, enable, restore
#include "cli/client/control_view.h"
#include "cli/client/state.h"
#include "cli/commands/commands.h"
#include "cli/show/remedy.h"

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

void ReportMode(Context& context, const Endpoint& endpoint, const Mode& current,
                const std::string& wanted) {
  context.output.Remark(
      "The current mode is still " + Printable(current.name()) + ", not " + Printable(wanted) +
      ": it could not be stored. " +
      "What examines the endpoint's key: " + CommandLine("doctor " + endpoint.number()));
  context.exit_status = kDiffering;
}

Mode SwitchMode(Context& context, const Endpoint& endpoint, const Arguments& arguments) {
  const ChangeLock lock = context.LockForChange(endpoint);
  std::string wanted;
  std::optional<Mode> found;
  const bool stored = ChangeAndVerify([&] {
    if (arguments.use_default) {
      endpoint.SetDefaultMode();
      wanted = context.catalog().DefaultMode(endpoint);
    } else {
      const Mode chosen = context.SelectMode(endpoint, arguments.mode);
      endpoint.SetCurrentMode(chosen);
      wanted = chosen.name();
    }
    found = context.CurrentMode(endpoint);
    return found->name() == wanted;
  });
  if (!stored) ReportMode(context, endpoint, *found, wanted);
  return std::move(*found);
}

void ShowOrSwitchMode(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const bool only_show = arguments.mode.empty() && !arguments.use_default;
  const Mode mode =
      only_show ? context.CurrentMode(endpoint) : SwitchMode(context, endpoint, arguments);
  if (context.output.json()) return context.output.Value({{"name", mode.name()}});
  context.output.Line(mode.name());
}

bool SwitchProcessing(Context& context, const Endpoint& endpoint, bool wanted) {
  const ChangeLock lock = context.LockForChange(endpoint);
  const bool stored = ChangeAndVerify([&] {
    endpoint.Modes().front().SetEnabled(wanted);
    return endpoint.Modes().front().Enabled() == wanted;
  });
  if (!stored)
    ReportDifference(context, kProcessEnableName, wanted ? "on" : "off", wanted ? "off" : "on");
  return stored == wanted;
}

// The switch belongs to the endpoint; any mode reaches it, also when the current one is not known.
void ShowOrSwitchProcessing(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const std::vector<Mode> modes = endpoint.Modes();
  if (modes.empty()) {
    throw Failure(kRefused, endpoint.name() +
                                " has no modes.\nWhat examines its configuration "
                                "file: " +
                                CommandLine("doctor " + endpoint.number()));
  }
  const bool enabled = arguments.state.empty()
                           ? modes.front().Enabled()
                           : SwitchProcessing(context, endpoint, arguments.state == "on");
  if (context.output.json()) return context.output.Value({{"enabled", enabled}});
  context.output.Line(enabled ? "on" : "off");
}

struct Unrestored {
  std::string name;
  std::string wanted;
  std::string found;
};

// The public controls that do not hold their default.
std::vector<Unrestored> FindUnrestored(Catalog& catalog, const Endpoint& endpoint,
                                       const Mode& mode) {
  const ControlTexts defaults = catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Default);
  std::vector<Unrestored> unrestored;
  for (const auto& [name, text] : catalog.Texts(endpoint, mode.name(), kORVAPO_Cont_Public)) {
    const auto wanted = defaults.find(name);
    if (wanted != defaults.end() && wanted->second != text)
      unrestored.push_back({name, wanted->second, text});
  }
  return unrestored;
}

void RestoreDefaults(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  std::vector<Unrestored> unrestored;
  ChangeAndVerify([&] {
    mode.RestoreDefaults();
    unrestored = FindUnrestored(context.catalog(), endpoint, mode);
    return unrestored.empty();
  });
  for (const Unrestored& one : unrestored)
    ReportDifference(context, one.name, "its default, " + one.wanted, one.found);
  const auto views = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
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
