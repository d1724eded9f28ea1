// config
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct ConfigArguments : EndpointArguments {
  std::optional<int> type;
};

void ShowConfig(Context& context, const ConfigArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  if (arguments.type) endpoint.SetConfig(static_cast<ORVAPOEndpointConfig>(*arguments.type));
  const int config = endpoint.Config();
  context.output.Result(
      {{"config", config}},
      fmt::format("{} ({}): {} in {}", config,
                  config == kORVAPO_EPCfg_DSP ? "modes for the DSP" : "modes without selector",
                  Counted(endpoint.Modes().size(), "mode"), endpoint.ConfigFile()));
}

}  // namespace

void AddConfigCommand(CLI::App& app, Context& context) {
  auto [config, arguments] =
      AddCommand(app, context, ShowConfig,
                 {"config", "Show the configuration type in force, or what the other one holds",
                  "orvctl config 0 1\n  orvctl modes 0 --config 1",
                  "Every program starts with type 0. The option --config 1 runs any command with "
                  "the modes for the DSP.",
                  "{config}"});
  config
      .add_option("TYPE", arguments.type,
                  "0: the modes that the processing object uses, 1: those for the DSP")
      ->check(OneOf({"0", "1"}));
}

}  // namespace orv::cli
