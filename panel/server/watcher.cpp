#include "panel/server/watcher.h"

#include <fmt/chrono.h>

#include <chrono>

#include "cli/client/catalog.h"
#include "cli/offline/files.h"
#include "cli/show/typed_value.h"
#include "platform/text.h"

namespace orv::panel {
namespace {

using cli::Json;

// "2026-01-31T12:34:56.789Z"
std::string UtcNow() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(system_clock::to_time_t(now)),
                     now.time_since_epoch().count() % 1000);
}

}  // namespace

template <class Step>
void Watcher::Guard(Step&& step) {
  try {
    step();
    if (!lost_.empty()) report_("found", Json::object());
    lost_.clear();
  } catch (const std::exception& failure) {
    if (lost_.empty()) report_("lost", {{"message", failure.what()}});
    lost_ = failure.what();
    endpoints_.clear();
  }
}

void Watcher::Start() {
  if (running_) return;
  running_ = true;
  lost_.clear();
  Guard([&] { Load(); });
}

void Watcher::Stop() {
  running_ = false;
  endpoints_.clear();
}

// Armed before each reading, so that a change after the reading starts the next one.
void Watcher::Load() {
  endpoints_.clear();
  Registry& registry = context_.session().machine().registry();
  std::optional<cli::Failure> fault;
  for (cli::Endpoint& endpoint : context_.Endpoints()) {
    try {
      const std::string path = endpoint.RegistryPath();
      auto watched = std::make_unique<Watched>(
          Watched{std::move(endpoint), cli::KeyWatch(registry, path, changed_), {}, {}});
      watched->watch.Arm();
      watched->values = StoredValues(watched->endpoint);
      watched->state = ReadState(context_.catalog(), watched->endpoint);
      endpoints_.push_back(std::move(watched));
    } catch (const cli::Failure& failure) {
      fault = failure;  // the others are watched
    }
  }
  if (endpoints_.empty() && fault) throw cli::Failure(*fault);
  signature_ = Signature();
}

Watcher::Values Watcher::StoredValues(const cli::Endpoint& endpoint) {
  Registry& registry = context_.session().machine().registry();
  std::unique_ptr<RegistryKey> key;
  Values values;
  if (registry.OpenKey(RegRoot::LocalMachine, WideFromUtf8(endpoint.RegistryPath()),
                       kKeyQueryValue | kKeyWow64_64, key) != kRegOk)
    return values;
  std::wstring name;
  for (std::uint32_t i = 0; key->EnumValue(i, name) == kRegOk; ++i) {
    std::uint32_t type = 0;
    ReadValue(*key, name, type, values[name]);
  }
  return values;
}

void Watcher::FindChanges(const std::string& endpoint, const std::string& origin) {
  if (!running_ || !lost_.empty()) return;
  Guard([&] {
    for (const auto& watched : endpoints_) {
      const cli::Endpoint& one = watched->endpoint;
      const bool is_it = one.number() == endpoint || EqualsIgnoringCase(one.id(), endpoint);
      Compare(*watched, is_it ? origin : "other");
    }
  });
}

void Watcher::Compare(Watched& watched, const std::string& origin) {
  watched.watch.Arm();
  Values values = StoredValues(watched.endpoint);
  if (values == watched.values) return;
  watched.values = std::move(values);
  cli::EndpointState next = ReadState(context_.catalog(), watched.endpoint);
  for (const cli::Change& change : Differences(watched.state, next))
    ReportChange(watched, change, origin);
  watched.state = std::move(next);
}

void Watcher::ReportChange(const Watched& watched, const cli::Change& change,
                           const std::string& origin) {
  const auto text = [&](const Json& value) {
    if (change.what != "control" || !value.is_number()) return cli::ToText(value);
    const cli::ControlFacts facts = context_.catalog().Describe(change.name);
    return cli::ValueText(
        value.get<std::int32_t>(),
        cli::FormOf(change.name, facts.scale, facts.factor, facts.maximum, facts.choices));
  };
  report_("change", {{"seq", ++sequence_},
                     {"time", UtcNow()},
                     {"what", change.what},
                     {"mode", change.mode.empty() ? Json() : Json(change.mode)},
                     {"name", change.name},
                     {"from", change.from},
                     {"to", change.to},
                     {"endpoint", watched.endpoint.id()},
                     {"origin", origin},
                     {"text_from", text(change.from)},
                     {"text_to", text(change.to)}});
}

std::string Watcher::Signature() {
  std::string signature;
  for (const cli::Endpoint& endpoint : context_.session().Endpoints())
    signature += fmt::format("{}\n{}\n{}\n{}\n", endpoint.id(), endpoint.name(),
                             endpoint.ConfigFile(), static_cast<int>(endpoint.HeadsetState()));
  return signature;
}

// A simulated machine keeps answering with what it has read last.
void Watcher::RequireFolder() const {
  const std::filesystem::path& folder = context_.session().machine_folder();
  if (folder.empty()) return;
  for (const char* name : {"machine.json", "registry.reg"}) {
    std::error_code ignored;
    if (!std::filesystem::exists(folder / name, ignored))
      throw cli::Failure(cli::kRefused, "{} is not there at the moment.",
                         cli::PathText(folder / name));
  }
}

bool Watcher::FindEndpoints() {
  bool changed = false;
  Guard([&] {
    RequireFolder();
    if (lost_.empty() && Signature() == signature_) return;
    changed = true;
    Load();
    if (lost_.empty()) report_("endpoints", Json::object());
  });
  return changed;
}

}  // namespace orv::panel
