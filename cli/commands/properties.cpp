// properties
#include "cli/commands/commands.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

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

void AddPropertiesCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  const auto key = std::make_shared<std::string>();
  CLI::App* properties = AddCommand(app, "properties", "The configuration's properties",
                                    "orvctl properties 0 \"Product Name\"");
  properties->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  properties->add_option("KEY", *key, "One property, letter case ignored");
  properties->callback([&context, endpoint, key] { ShowProperties(context, *endpoint, *key); });
}

}  // namespace orv::cli
