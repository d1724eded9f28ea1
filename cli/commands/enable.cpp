// enable
#include "cli/client/state.h"
#include "cli/commands/commands.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

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
void ShowOrSwitchProcessing(Context& context, const std::string& endpoint_text,
                            const std::string& state) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  const std::vector<Mode> modes = endpoint.Modes();
  if (modes.empty()) {
    throw Failure(kRefused, endpoint.name() +
                                " has no modes.\nWhat examines its configuration "
                                "file: " +
                                CommandLine("doctor " + endpoint.number()));
  }
  const bool enabled =
      state.empty() ? modes.front().Enabled() : SwitchProcessing(context, endpoint, state == "on");
  if (context.output.json()) return context.output.Value({{"enabled", enabled}});
  context.output.Line(enabled ? "on" : "off");
}

}  // namespace

void AddEnableCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  const auto state = std::make_shared<std::string>();
  CLI::App* enable = AddCommand(app, "enable", "Processing on or off, for the whole endpoint",
                                "orvctl enable 0 off");
  enable->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  enable->add_option("STATE", *state, "on or off; shows the switch without it")
      ->check(CLI::IsMember({"on", "off"}));
  enable->callback(
      [&context, endpoint, state] { ShowOrSwitchProcessing(context, *endpoint, *state); });
}

}  // namespace orv::cli
