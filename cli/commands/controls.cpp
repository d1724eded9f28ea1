// controls
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct ControlsArguments {
  std::string endpoint;
  std::string mode;
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

}  // namespace

void AddControlsCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<ControlsArguments>();
  CLI::App* controls = AddCommand(
      app, "controls", "The controls of a mode",
      "orvctl controls 0 --mode Movie/Internal\n  orvctl --json controls 0 --list default",
      "The component tells no values of private controls: shown is what the configuration file "
      "says.");
  controls->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  controls->add_option("--mode", arguments->mode, kModeHelp);
  controls->add_option("--list", arguments->list, "public, private or default")
      ->capture_default_str();
  controls->callback([&context, arguments] { ListControls(context, *arguments); });
}

}  // namespace orv::cli
