// mode
#include "cli/commands/commands.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

struct ModeArguments {
  std::string endpoint;
  std::string mode;
  bool use_default = false;
};

void ReportMode(Context& context, const Endpoint& endpoint, const Mode& current,
                const std::string& wanted) {
  context.output.Notice(
      "The current mode is still " + Printable(current.name()) + ", not " + Printable(wanted) +
      ": it could not be stored. " +
      "What examines the endpoint's key: " + CommandLine("doctor " + endpoint.number()));
  context.exit_status = kDiffering;
}

Mode SwitchMode(Context& context, const Endpoint& endpoint, const ModeArguments& arguments) {
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

void ShowOrSwitchMode(Context& context, const ModeArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const bool only_show = arguments.mode.empty() && !arguments.use_default;
  const Mode mode =
      only_show ? context.CurrentMode(endpoint) : SwitchMode(context, endpoint, arguments);
  if (context.output.json()) return context.output.Value({{"name", mode.name()}});
  context.output.Line(mode.name());
}

}  // namespace

void AddModeCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<ModeArguments>();
  CLI::App* mode = AddCommand(app, "mode", "Show, switch or reset the current operating mode",
                              "orvctl mode 0 Movie/Internal\n  orvctl mode 0 --default");
  mode->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  CLI::Option* name = mode->add_option("MODE", arguments->mode,
                                       "Mode: its name or any part of it that fits one mode only");
  mode->add_flag("--default", arguments->use_default, "Back to the configuration's default mode")
      ->excludes(name);
  mode->callback([&context, arguments] { ShowOrSwitchMode(context, *arguments); });
}

}  // namespace orv::cli
