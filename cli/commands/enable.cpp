// enable
#include "cli/commands/apply_changes.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct EnableArguments : EndpointArguments {
  std::string state;
};

// The switch belongs to the endpoint; any mode reaches it, also if the current one is not known.
void ShowOrSwitchProcessing(Context& context, const EnableArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::optional<ChangeLock> lock;
  if (!arguments.state.empty()) lock.emplace(context.LockForChange(endpoint));
  const std::vector<Mode> modes = endpoint.Modes();
  if (modes.empty())
    throw Failure(kRefused, endpoint.name() +
                                " has no modes.\nTo examine its configuration file: " +
                                CommandLine("doctor " + endpoint.number()));
  bool enabled = modes.front().Enabled();
  if (lock) {
    const bool wanted = arguments.state == "on";
    const std::vector<Change> made =
        MakeChanges(context, endpoint, modes, {{"switch", "", kProcessEnableName, enabled, wanted}},
                    {.command = "enable"});
    if (!made.empty()) enabled = wanted;
  }
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
