// endpoints
#include "cli/commands/commands.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

const char* HeadsetWord(Headset headset) {
  switch (headset) {
    case Headset::Connected:
      return "connected";
    case Headset::Absent:
      return "absent";
    case Headset::Unknown:
      break;
  }
  return "unknown";
}

void ListEndpoints(Context& context) {
  const std::vector<Endpoint> endpoints = context.Endpoints();
  if (!context.output.json()) {
    if (endpoints.empty())
      context.output.Notice("No endpoint. What is missing: " + CommandLine("doctor"));
    return context.output.Show(EndpointsTable(endpoints));
  }
  Json array = Json::array();
  for (const Endpoint& endpoint : endpoints) {
    const std::optional<Mode> mode = endpoint.CurrentMode();
    array.push_back({{"id", endpoint.id()},
                     {"name", endpoint.name()},
                     {"config_file", endpoint.ConfigFile()},
                     {"registry_path", endpoint.RegistryPath()},
                     {"mode", mode ? Json(mode->name()) : Json()},
                     {"headset", HeadsetWord(endpoint.HeadsetState())}});
  }
  context.output.Value(array);
}

}  // namespace

Table EndpointsTable(const std::vector<Endpoint>& endpoints) {
  Table table({{"#", Align::Right}, {"ENDPOINT"}, {"CURRENT MODE"}, {"HEADSET"}, {"IDENTIFIER"}});
  std::size_t number = 0;
  for (const Endpoint& endpoint : endpoints) {
    const std::optional<Mode> mode = endpoint.CurrentMode();
    table.Add({std::to_string(number++), Cell(endpoint.name(), ansi::kBold),
               mode ? Cell(mode->name(), ansi::kAccent) : Cell("not known", ansi::kBad),
               HeadsetWord(endpoint.HeadsetState()), Cell(endpoint.id(), ansi::kDim)});
  }
  return table;
}

void AddEndpointsCommand(CLI::App& app, Context& context) {
  AddCommand(app, "endpoints", "Every endpoint the component finds", "orvctl endpoints")
      ->callback([&context] { ListEndpoints(context); });
}

}  // namespace orv::cli
