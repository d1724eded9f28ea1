// Notices changes of all endpoints, made by any program.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/client/context.h"
#include "cli/client/watched_endpoint.h"
#include "platform/synchronization.h"

namespace orv::panel {

// Used on the machine's thread only.
class Watcher {
 public:
  // Receives the name and the data of each event.
  using Report = std::function<void(const char* name, const cli::Json& data)>;

  // `changed` is signalled when there is something to find.
  Watcher(cli::Context& context, cli::MachineCheck& check, Event& changed, Report report)
      : context_(context), check_(check), changed_(changed), report_(std::move(report)) {}

  // Begins with what there is now; has no effect once it has begun. As with the others, a machine
  // that cannot be read is reported as `lost`, and as `found` when it can.
  void Start();
  void Stop();
  bool running() const noexcept { return running_; }
  // Why the machine cannot be read at the moment; empty if it can.
  const std::string& lost() const noexcept { return lost_; }
  std::uint32_t sequence() const noexcept { return sequence_; }

  // Reports what has changed since the last time. Changes of this endpoint (its number or its
  // identifier; empty: none) are by `origin`, all others by "other".
  void FindChanges(const std::string& endpoint = {}, const std::string& origin = {});
  // Whether endpoints came, went, or have another headset state; a lost machine is tried again.
  // True if there was such a change.
  bool FindEndpoints();

 private:
  void Load();
  void ReportChange(const std::string& endpoint, const cli::Change& change,
                    const std::string& origin);
  // One text that differs when what "endpoints" shows differs, but for the current mode.
  std::string Signature();
  // Runs `step`, and reports a failure as a lost machine.
  template <class Step>
  void Guard(Step&& step);

  cli::Context& context_;
  cli::MachineCheck& check_;
  Event& changed_;
  Report report_;
  std::vector<std::unique_ptr<cli::WatchedEndpoint>> endpoints_;
  std::string signature_;
  std::uint32_t sequence_ = 0;
  bool running_ = false;
  std::string lost_;
};

}  // namespace orv::panel
