// enable
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct EnableArguments : EndpointArguments {
  std::string state;
};

bool SwitchProcessing(Context& context, const Endpoint& endpoint, bool wanted) {
  const ChangeLock lock = context.LockForChange(endpoint);
  const std::vector<Mode> modes = endpoint.Modes();
  const bool before = modes.front().Enabled();
  const std::vector<Change> made =
      MakeChanges(context, endpoint, modes, {{"switch", "", kProcessEnableName, before, wanted}},
                  {.command = "enable"});
  return made.empty() ? before : wanted;
}

// The switch belongs to the endpoint; any mode reaches it, also if the current one is not known.
void ShowOrSwitchProcessing(Context& context, const EnableArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const std::vector<Mode> modes = endpoint.Modes();
  if (modes.empty())
    throw Failure(kRefused, endpoint.name() +
                                " has no modes.\nTo examine its configuration file: " +
                                CommandLine("doctor " + endpoint.number()));
  const bool enabled = arguments.state.empty()
                           ? modes.front().Enabled()
                           : SwitchProcessing(context, endpoint, arguments.state == "on");
  context.output.Result({{"enabled", enabled}}, enabled ? "on" : "off");
}

}  // namespace

void AddEnableCommand(CLI::App& app, Context& context) {
  auto [enable, arguments] =
      AddCommand(app, context, ShowOrSwitchProcessing,
                 {"enable", "Switch processing on or off for the whole endpoint",
                  "orvctl enable 0 off", "", "{enabled}"});
  enable.add_option("STATE", arguments.state, "on or off; without it, the switch is shown")
      ->check(OneOf({"on", "off"}));
}

}  // namespace orv::cli
