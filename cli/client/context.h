// What the commands of one run share: global options, the session, and where results go.
#pragma once

#include <chrono>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/catalog.h"
#include "cli/client/change_lock.h"
#include "cli/client/host.h"
#include "cli/client/journal.h"
#include "cli/client/session.h"
#include "cli/show/failure.h"
#include "cli/show/output.h"
#include "cli/show/select.h"

namespace orv::cli {

// Opens the machine and the component for the first command that needs them: offline commands work
// without either.
class Context {
 public:
  explicit Context(Output& output_stream) : output(output_stream) {}

  Output& output;
  SessionOptions session_options;
  std::string version;             // of this program
  std::optional<int> config_type;  // load endpoints with this configuration type
  ExitStatus exit_status = kDone;
  std::istream* input = nullptr;  // what "-" reads instead of standard input
  std::chrono::milliseconds lock_limit = ChangeLock::kLimit;
  Naming naming = Naming::ByPart;  // of modes, and of controls that are to be changed
  std::string gesture;             // changes of the same one (not empty) are taken back together

  Session& session();
  Catalog& catalog();

  // All endpoints, each loaded with the requested configuration type.
  std::vector<Endpoint> Endpoints();
  // By identifier, number or part of its name.
  Endpoint SelectEndpoint(const std::string& text);
  // By name or, by part, a part of it; empty text means the current mode.
  Mode SelectMode(const Endpoint& endpoint, const std::string& text);
  Mode CurrentMode(const Endpoint& endpoint);
  // For a command that changes the endpoint: taken before it reads anything that the change depends
  // on, and held until it has verified the change.
  ChangeLock LockForChange(const Endpoint& endpoint) {
    return ChangeLock(session().machine_folder(), endpoint.RegistryPath(), lock_limit);
  }
  // The changes that this program made to the endpoint, in the simulated machine's folder, else in
  // the user's data folder.
  Journal JournalOf(const Endpoint& endpoint);
  // Keeps changes that were made, so that they can be taken back. If they cannot be kept, a message
  // reports it and the command goes on.
  void Keep(const Endpoint& endpoint, const std::string& command,
            const std::vector<Change>& changes);

 private:
  std::vector<Endpoint> FindEndpoints();
  void LoadConfig(const Endpoint& endpoint) const;

  // The catalog uses the session, so it is destroyed first.
  std::unique_ptr<Session> session_;
  std::unique_ptr<Catalog> catalog_;
};

}  // namespace orv::cli
