#include "cli/client/context.h"

#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {

Session& Context::session() {
  if (session_ == nullptr) session_ = std::make_unique<Session>(session_options);
  return *session_;
}

Catalog& Context::catalog() {
  if (catalog_ == nullptr) catalog_ = std::make_unique<Catalog>(session());
  return *catalog_;
}

std::vector<Endpoint> Context::FindEndpoints() {
  std::vector<std::string> unopened;
  std::vector<Endpoint> endpoints = session().Endpoints(&unopened);
  for (const std::string& id : unopened) {
    output.Notice("The component finds " + id + " but cannot open it. What examines it: " +
                  CommandLine("doctor " + ShellWord(id)));
  }
  return endpoints;
}

Endpoint Context::WithConfig(Endpoint endpoint) const {
  if (config_type) endpoint.SetConfig(static_cast<ORVAPOEndpointConfig>(*config_type));
  return endpoint;
}

std::vector<Endpoint> Context::Endpoints() {
  std::vector<Endpoint> endpoints = FindEndpoints();
  for (Endpoint& endpoint : endpoints) endpoint = WithConfig(std::move(endpoint));
  return endpoints;
}

// Only the endpoint that is asked for has to load with the configuration type asked for.
Endpoint Context::SelectEndpoint(const std::string& text) {
  std::vector<Endpoint> endpoints = FindEndpoints();
  return WithConfig(std::move(endpoints[PositionOf(endpoints, text)]));
}

std::size_t Context::PositionOf(const std::vector<Endpoint>& endpoints, const std::string& text) {
  if (endpoints.empty()) {
    throw Failure(kRefused, "the component finds no endpoint on this machine.\nWhat is missing: " +
                                CommandLine("doctor"));
  }
  for (std::size_t i = 0; i < endpoints.size(); ++i)
    if (EqualsIgnoringCase(endpoints[i].id(), text)) return i;
  if (const std::optional<int> number = ParseNumber(text)) {
    if (*number < 0 || static_cast<std::size_t>(*number) >= endpoints.size()) {
      UsageFailure("there is no endpoint number " + text + ": expected 0 to " +
                   std::to_string(endpoints.size() - 1) + ".");
    }
    return static_cast<std::size_t>(*number);
  }
  std::vector<std::string> names;
  names.reserve(endpoints.size());
  for (const Endpoint& endpoint : endpoints) names.push_back(endpoint.name());
  return SelectOrFail(names, text, "endpoint");
}

Mode Context::SelectMode(const Endpoint& endpoint, const std::string& text) {
  if (text.empty()) return CurrentMode(endpoint);
  std::vector<Mode> modes = endpoint.Modes();
  std::vector<std::string> names;
  names.reserve(modes.size());
  for (const Mode& mode : modes) names.push_back(mode.name());
  return std::move(modes[SelectOrFail(names, text, "mode")]);
}

Mode Context::CurrentMode(const Endpoint& endpoint) {
  if (std::optional<Mode> mode = endpoint.CurrentMode()) return std::move(*mode);
  ComponentFailure("reading the current mode of " + endpoint.name(), orv_apo::kNotFound,
                   "The stored mode is none of the configuration's. To store the default one: " +
                       CommandLine("mode " + endpoint.number() + " --default"));
}

}  // namespace orv::cli
