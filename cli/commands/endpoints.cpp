// endpoints
#include "cli/commands/commands.h"
#include "cli/show/names.h"

namespace orv::cli {
namespace {

const char* HeadsetWord(const Endpoint& endpoint) {
  static constexpr const char* kWords[] = {"unknown", "absent", "connected"};
  return kWords[static_cast<int>(endpoint.HeadsetState())];
}

Json EndpointJson(const Endpoint& endpoint) {
  const std::optional<Mode> mode = endpoint.CurrentMode();
  return {{"id", endpoint.id()},
          {"name", endpoint.name()},
          {"config_file", endpoint.ConfigFile()},
          {"registry_path", endpoint.RegistryPath()},
          {"mode", mode ? Json(mode->name()) : Json()},
          {"headset", HeadsetWord(endpoint)}};
}

struct ListArguments {
  bool with_identifiers = false;
};

void ShowEndpoints(Context& context, const ListArguments& arguments) {
  const std::vector<Endpoint> endpoints = context.Endpoints();
  if (!context.output.json()) {
    if (endpoints.empty())
      context.output.Notice("No endpoint. To examine the machine: " + CommandLine("doctor"));
    return context.output.Show(EndpointsTable(endpoints, arguments.with_identifiers));
  }
  Json array = Json::array();
  for (const Endpoint& endpoint : endpoints) array.push_back(EndpointJson(endpoint));
  context.output.Value(array);
}

}  // namespace

Table EndpointsTable(const std::vector<Endpoint>& endpoints, bool with_identifiers) {
  std::vector<Table::Column> columns{
      {"#", Align::Right}, {"ENDPOINT"}, {"CURRENT MODE"}, {"HEADSET"}};
  if (with_identifiers) columns.push_back({"IDENTIFIER"});
  Table table(columns);
  std::size_t number = 0;
  for (const Endpoint& endpoint : endpoints) {
    const std::optional<Mode> mode = endpoint.CurrentMode();
    std::vector<Cell> cells{
        std::to_string(number++), Cell(endpoint.name(), ansi::kBold),
        mode ? Cell(ModeLabel(mode->name()), ansi::kAccent) : Cell("not known", ansi::kBad),
        HeadsetWord(endpoint)};
    if (with_identifiers) cells.emplace_back(endpoint.id(), ansi::kDim);
    table.Add(std::move(cells));
  }
  return table;
}

void AddEndpointsCommand(CLI::App& app, Context& context) {
  auto [endpoints, arguments] =
      AddCommand(app, context, ShowEndpoints,
                 {"endpoints", "List the endpoints that the component finds",
                  "orvctl endpoints\n  orvctl endpoints --long", "",
                  "an array of {id, name, config_file, registry_path, mode, headset}; headset is "
                  "connected, absent or unknown"});
  endpoints.add_flag(kLongOption, arguments.with_identifiers, "Show identifiers too");
}

}  // namespace orv::cli
