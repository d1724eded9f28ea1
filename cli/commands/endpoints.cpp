// endpoints
#include "cli/commands/commands.h"

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

}  // namespace

Table EndpointsTable(const std::vector<Endpoint>& endpoints) {
  Table table({{"#", Align::Right}, {"ENDPOINT"}, {"CURRENT MODE"}, {"HEADSET"}, {"IDENTIFIER"}});
  std::size_t number = 0;
  for (const Endpoint& endpoint : endpoints) {
    const std::optional<Mode> mode = endpoint.CurrentMode();
    table.Add({std::to_string(number++), Cell(endpoint.name(), ansi::kBold),
               mode ? Cell(mode->name(), ansi::kAccent) : Cell("not known", ansi::kBad),
               HeadsetWord(endpoint), Cell(endpoint.id(), ansi::kDim)});
  }
  return table;
}

void AddEndpointsCommand(CLI::App& app, Context& context) {
  AddCommand(app, {"endpoints", "Every endpoint the component finds", "orvctl endpoints"})
      .callback([&context] {
        const std::vector<Endpoint> endpoints = context.Endpoints();
        if (!context.output.json()) {
          if (endpoints.empty())
            context.output.Notice("No endpoint. To examine the machine: " + CommandLine("doctor"));
          return context.output.Show(EndpointsTable(endpoints));
        }
        Json array = Json::array();
        for (const Endpoint& endpoint : endpoints) array.push_back(EndpointJson(endpoint));
        context.output.Value(array);
      });
}

}  // namespace orv::cli
