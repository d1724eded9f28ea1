// What the endpoints play that pages look at: one analysis object for each of them.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "cli/client/context.h"
#include "cli/client/level_reader.h"

namespace orv::panel {

// Used on the machine's thread only.
class Levels {
 public:
  // Receives an endpoint as it was asked for, and the data of its event.
  using Report = std::function<void(const std::string& endpoint, const cli::Json& data)>;
  static constexpr std::chrono::milliseconds kPollInterval = cli::LevelReader::kPollInterval;

  Levels(cli::Context& context, Report report);
  ~Levels();
  Levels(const Levels&) = delete;
  Levels& operator=(const Levels&) = delete;

  // Listens to these endpoints (numbers or identifiers) and to no others.
  void LookAt(const std::set<std::string>& endpoints);
  bool listening() const noexcept { return !listeners_.empty(); }
  // Reads; reports at most every 33 ms, and what has not changed not at all.
  void Poll();
  // Listens afresh, for example after endpoints have changed.
  void Restart();

 private:
  class Listener;
  cli::Context& context_;
  Report report_;
  std::set<std::string> looked_at_;
  std::map<std::string, std::unique_ptr<Listener>> listeners_;  // by what was asked for
};

}  // namespace orv::panel
