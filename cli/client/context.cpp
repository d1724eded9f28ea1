#include "cli/client/context.h"

#include <fmt/format.h>

#include <utility>

#include "cli/client/user_machines.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "cli/show/select.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

template <class Named>
std::vector<std::string> NamesOf(const std::vector<Named>& all) {
  std::vector<std::string> names;
  for (const Named& one : all) names.push_back(one.name());
  return names;
}

std::size_t PositionOf(const std::vector<Endpoint>& endpoints, const std::string& text) {
  if (endpoints.empty()) {
    throw Failure(kRefused, "the component finds no endpoint on this machine.\nWhat is missing: " +
                                CommandLine("doctor"));
  }
  for (std::size_t i = 0; i < endpoints.size(); ++i)
    if (EqualsIgnoringCase(endpoints[i].id(), text)) return i;
  const std::optional<int> number = ParseNumber(text);
  if (!number) return SelectOrFail(NamesOf(endpoints), text, "endpoint");
  if (!std::in_range<std::size_t>(*number) || std::cmp_greater_equal(*number, endpoints.size())) {
    UsageFailure("there is no endpoint number {}: expected 0 to {}.", text, endpoints.size() - 1);
  }
  return static_cast<std::size_t>(*number);
}

}  // namespace

Session& Context::session() {
  if (session_ == nullptr) {
    const std::filesystem::path machine =
        session_options.machine.empty() ? DefaultMachineFolder() : session_options.machine;
    if (!machine.empty() && MakeUserMachine(machine))
      output.Notice(
          fmt::format("orvctl: using your own copy of the sample machine, {} (as new again: {})",
                      PathText(machine), "orvctl machine reset " + PathText(machine.filename())));
    session_ = std::make_unique<Session>(session_options);
  }
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
    output.Notice(fmt::format("The component finds {} but cannot open it. What examines it: {}", id,
                              CommandLine("doctor " + ShellWord(id))));
  }
  return endpoints;
}

void Context::LoadConfig(const Endpoint& endpoint) const {
  if (config_type) endpoint.SetConfig(static_cast<ORVAPOEndpointConfig>(*config_type));
}

std::vector<Endpoint> Context::Endpoints() {
  std::vector<Endpoint> endpoints = FindEndpoints();
  for (const Endpoint& endpoint : endpoints) LoadConfig(endpoint);
  ShowKeptDiagnostics();
  return endpoints;
}

// Only the selected endpoint has to load with the requested configuration type.
Endpoint Context::SelectEndpoint(const std::string& text) {
  std::vector<Endpoint> endpoints = FindEndpoints();
  Endpoint& selected = endpoints[PositionOf(endpoints, text)];
  LoadConfig(selected);
  EndOpening();
  return std::move(selected);
}

Mode Context::SelectMode(const Endpoint& endpoint, const std::string& text) {
  if (text.empty()) return CurrentMode(endpoint);
  std::vector<Mode> modes = endpoint.Modes();
  std::vector<std::string> labels;
  for (const Mode& mode : modes) labels.push_back(ModeLabel(mode.name()));
  return std::move(modes[SelectOrFail(labels, ModeLabel(text), "mode", naming)]);
}

Mode Context::CurrentMode(const Endpoint& endpoint) {
  if (std::optional<Mode> mode = endpoint.CurrentMode()) return std::move(*mode);
  ComponentFailure("reading the current mode of " + endpoint.name(), orv_apo::kNotFound,
                   "The configuration does not have the stored mode. To store the default one: " +
                       CommandLine("mode " + endpoint.number() + " --default"));
}

Journal Context::JournalOf(const Endpoint& endpoint) {
  constexpr GUID kUserData = {
      0xF1B32785, 0x6FBA, 0x4FCF, {0x9D, 0x55, 0x7B, 0x8E, 0x7F, 0x15, 0x70, 0x91}};
  std::filesystem::path folder = session().machine_folder();
  if (folder.empty()) {
    const std::optional<std::wstring> user = session().machine().KnownFolder(kUserData);
    if (!user) throw Failure(kRefused, "the user's data folder is not known.");
    folder = std::filesystem::path(*user) / "ORV Labs" / "orvctl";
  }
  return Journal(folder, endpoint.RegistryPath());
}

void Context::Keep(const Endpoint& endpoint, const std::string& command,
                   const std::vector<Change>& changes) {
  try {
    JournalOf(endpoint).Add(command, changes, gesture);
  } catch (const std::exception& failure) {
    output.Notice(fmt::format("\"undo\" cannot take this back: {}", failure.what()));
  }
}

}  // namespace orv::cli
