// config
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

void ShowConfig(Context& context, const std::string& endpoint_text,
                const std::optional<int>& wanted) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  if (wanted) endpoint.SetConfig(static_cast<ORVAPOEndpointConfig>(*wanted));
  const int config = endpoint.Config();
  if (context.output.json()) return context.output.Value({{"config", config}});
  const char* meaning =
      config == kORVAPO_EPCfg_DSP ? "modes for the DSP" : "modes without selector";
  context.output.Line(std::to_string(config) + " (" + meaning + "): " +
                      Counted(endpoint.Modes().size(), "mode") + " in " + endpoint.ConfigFile());
}

}  // namespace

void AddConfigCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  const auto type = std::make_shared<std::optional<int>>();
  CLI::App* config = AddCommand(
      app, "config", "The configuration type in force, or reload with another",
      "orvctl config 0 1\n  orvctl modes 0 --config 1",
      "Every program starts with type 0. The option --config 1 runs any command with the modes for "
      "the DSP.");
  config->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  config->add_option("TYPE", *type, "0: modes without selector, 1: modes for the DSP")
      ->check(CLI::Range(0, 1));
  config->callback([&context, endpoint, type] { ShowConfig(context, *endpoint, *type); });
}

}  // namespace orv::cli
