// get
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct GetArguments {
  std::string endpoint;
  std::string mode;
  std::string control;
};

void GetControl(Context& context, const GetArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  ShowControl(context.output, FindControl(context.catalog(), endpoint, mode, arguments.control));
}

}  // namespace

void AddGetCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<GetArguments>();
  CLI::App* get = AddCommand(app, "get", "One control", "orvctl get 0 \"VQ3D-Process Enable\"");
  get->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  get->add_option("CONTROL", arguments->control, kControlHelp)->required();
  get->add_option("--mode", arguments->mode, kModeHelp);
  get->callback([&context, arguments] { GetControl(context, *arguments); });
}

}  // namespace orv::cli
