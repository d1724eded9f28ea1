// modes
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

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

void ShowModes(Context& context, const std::string& endpoint_text) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  if (!context.output.json()) return context.output.Show(ModesTable(endpoint));
  Json array = Json::array();
  for (const ListedMode& mode : ListModes(endpoint))
    array.push_back({{"name", mode.name}, {"current", mode.current}});
  context.output.Value(array);
}

}  // namespace

Table ModesTable(const Endpoint& endpoint) {
  Table table({{""}, {"MODE"}});
  for (const ListedMode& mode : ListModes(endpoint))
    table.Add({mode.current ? "*" : "", Cell(mode.name, mode.current ? ansi::kAccent : nullptr)});
  return table;
}

void AddModesCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  CLI::App* modes = AddCommand(
      app, "modes", "An endpoint's operating modes, in configuration order", "orvctl modes 0");
  modes->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  modes->callback([&context, endpoint] { ShowModes(context, *endpoint); });
}

}  // namespace orv::cli
