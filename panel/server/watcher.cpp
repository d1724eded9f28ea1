#include "panel/server/watcher.h"

#include <fmt/format.h>

#include "cli/show/clock.h"
#include "platform/text.h"

namespace orv::panel {

using cli::Json;

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

void Watcher::Load() {
  endpoints_.clear();
  std::optional<cli::Failure> fault;
  for (cli::Endpoint& endpoint : context_.Endpoints()) {
    try {
      endpoints_.push_back(std::make_unique<cli::WatchedEndpoint>(
          context_.session(), context_.catalog(), std::move(endpoint), changed_));
    } catch (const cli::Failure& failure) {
      fault = failure;  // the others are watched
    }
  }
  if (endpoints_.empty() && fault) throw cli::Failure(*fault);
  signature_ = Signature();
}

void Watcher::FindChanges(const std::string& endpoint, const std::string& origin) {
  if (!running_ || !lost_.empty()) return;
  Guard([&] {
    for (const auto& watched : endpoints_) {
      const cli::Endpoint& one = watched->endpoint();
      const bool is_it = one.number() == endpoint || EqualsIgnoringCase(one.id(), endpoint);
      for (const cli::Change& change : watched->FindChanges())
        ReportChange(one.id(), change, is_it ? origin : "other");
    }
  });
}

void Watcher::ReportChange(const std::string& endpoint, const cli::Change& change,
                           const std::string& origin) {
  Json data = {{"seq", ++sequence_},
               {"time", cli::UtcText(std::chrono::system_clock::now())},
               {"endpoint", endpoint},
               {"what", change.what}};
  data.update(cli::ToJson(context_.catalog(), change));
  data["origin"] = origin;
  report_("change", data);
}

std::string Watcher::Signature() {
  std::string signature;
  for (const cli::Endpoint& endpoint : context_.session().Endpoints())
    signature += fmt::format("{}\n{}\n{}\n{}\n", endpoint.id(), endpoint.name(),
                             endpoint.ConfigFile(), static_cast<int>(endpoint.HeadsetState()));
  return signature;
}

bool Watcher::FindEndpoints() {
  bool changed = false;
  Guard([&] {
    if (const std::string& fault = check_.Fault(); !fault.empty())
      throw cli::Failure(cli::kRefused, fault);
    if (lost_.empty() && Signature() == signature_) return;
    changed = true;
    Load();
    if (lost_.empty()) report_("endpoints", Json::object());
  });
  return changed;
}

}  // namespace orv::panel
