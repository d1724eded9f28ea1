// endpoints, config, properties
#include "cli/commands/commands.h"
#include "cli/show/remedy.h"
#include "cli/show/select.h"

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
      context.output.Remark("No endpoint. What is missing: " + CommandLine("doctor"));
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

void ShowProperties(Context& context, const std::string& endpoint_text, const std::string& key) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  std::vector<Endpoint::Property> properties;
  if (key.empty()) {
    properties = endpoint.Properties();
  } else if (const auto property = endpoint.FindProperty(key)) {
    properties.push_back(*property);
  } else {
    std::vector<std::string> keys;
    for (const Endpoint::Property& known : endpoint.Properties()) keys.push_back(known.key);
    UsageFailure("no property named \"" + key + "\"." + Suggestion(keys, key));
  }
  Json array = Json::array();
  Table table({{"PROPERTY"}, {"VALUE"}});
  for (const Endpoint::Property& property : properties) {
    array.push_back({{"key", property.key}, {"value", property.value}});
    table.Add({property.key, Cell(property.value, ansi::kAccent)});
  }
  if (context.output.json()) return context.output.Value(array);
  context.output.Show(table);
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

void AddEndpointCommands(CLI::App& app, Context& context) {
  AddCommand(app, "endpoints", "Every endpoint the component finds", "orvctl endpoints")
      ->callback([&context] { ListEndpoints(context); });

  struct Arguments {
    std::string endpoint;
    std::optional<int> config;
    std::string key;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* config = AddCommand(
      app, "config", "The configuration type in force, or reload with another",
      "orvctl config 0 1\n  orvctl modes 0 --config 1",
      "Every program starts with type 0. The option --config 1 runs any command with the modes for "
      "the DSP.");
  config->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  config->add_option("TYPE", arguments->config, "0: modes without selector, 1: modes for the DSP")
      ->check(CLI::Range(0, 1));
  config->callback(
      [&context, arguments] { ShowConfig(context, arguments->endpoint, arguments->config); });

  CLI::App* properties = AddCommand(app, "properties", "The configuration's properties",
                                    "orvctl properties 0 \"Product Name\"");
  properties->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  properties->add_option("KEY", arguments->key, "One property, letter case ignored");
  properties->callback(
      [&context, arguments] { ShowProperties(context, arguments->endpoint, arguments->key); });
}

}  // namespace orv::cli
