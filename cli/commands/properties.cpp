// properties
#include "cli/commands/commands.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

struct PropertiesArguments : EndpointArguments {
  std::string key;
};

void ShowProperties(Context& context, const PropertiesArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  std::vector<Endpoint::Property> properties = endpoint.Properties();
  if (!arguments.key.empty()) {
    const auto property = endpoint.FindProperty(arguments.key);
    if (!property) {
      std::vector<std::string> keys;
      for (const Endpoint::Property& known : properties) keys.push_back(known.key);
      UsageFailure("no property named \"{}\".{}", arguments.key, Suggestion(keys, arguments.key));
    }
    properties = {*property};
  }
  Json array = Json::array();
  Table table({{"PROPERTY"}, {"VALUE"}});
  for (const auto& [key, value] : properties) {
    array.push_back({{"key", key}, {"value", value}});
    table.Add({key, Cell(value, ansi::kAccent)});
  }
  context.output.Result(array, table);
}

}  // namespace

void AddPropertiesCommand(CLI::App& app, Context& context) {
  auto [properties, arguments] =
      AddCommand(app, context, ShowProperties,
                 {"properties", "Show the configuration's properties",
                  "orvctl properties 0 \"Product Name\"", "", "an array of {key, value}"});
  properties.add_option("KEY", arguments.key, "One property; letter case does not matter");
}

}  // namespace orv::cli
