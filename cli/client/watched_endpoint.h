// What those who report changes of a machine have in common.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/catalog.h"
#include "cli/client/registry.h"
#include "cli/client/session.h"
#include "cli/client/state.h"

namespace orv::cli {

// An endpoint and what was last read of it.
class WatchedEndpoint {
 public:
  // Reads the endpoint; `changed` is signalled when a value of its key changes. The catalog has to
  // live as long. Throws Failure if it cannot be read or watched.
  WatchedEndpoint(const Session& session, Catalog& catalog, Endpoint endpoint, Event& changed);

  const Endpoint& endpoint() const noexcept { return endpoint_; }
  // What differs from the last time. Cheap if no value of the key has changed. Throws Failure.
  std::vector<Change> FindChanges();

 private:
  using Bytes = std::vector<std::uint8_t>;
  using Values = std::map<std::wstring, Bytes>;
  Values StoredValues() const;

  Registry& registry_;
  Catalog& catalog_;
  Endpoint endpoint_;
  std::string path_;
  KeyWatch watch_;
  Values values_;  // of the endpoint's key, as they are stored
  EndpointState state_;
};

// Whether a simulated machine's files can be read. The component goes on with what it last read.
class MachineCheck {
 public:
  // An empty folder is the real machine, which can always be read.
  explicit MachineCheck(std::filesystem::path folder)
      : folder_(std::move(folder)), written_(Written()) {}

  // Why they cannot be read at the moment; empty if they can. Cheap if nothing was written.
  const std::string& Fault();

 private:
  std::optional<std::filesystem::file_time_type> Written() const;

  std::filesystem::path folder_;
  std::optional<std::filesystem::file_time_type> written_;
  std::string fault_;
};

}  // namespace orv::cli
