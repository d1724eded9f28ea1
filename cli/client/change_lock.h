// The lock under which this program changes an endpoint.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "cli/show/failure.h"

namespace orv::cli {

// Held by one process of this program at a time for one registry key of the machine, from the first
// reading to the verification of a change. The system releases it when the process ends in any way.
class ChangeLock {
 public:
  static constexpr std::chrono::seconds kLimit{30};
  // Another process holds the lock.
  struct Taken : Failure {
    using Failure::Failure;
  };

  // Waits for other holders. Throws Taken if there is still one after the limit, and Failure if the
  // lock cannot be made. `machine` is the folder of a simulated machine, else it is not used. The
  // key's path may have any letter case.
  ChangeLock(const std::filesystem::path& machine, const std::string& registry_path,
             std::chrono::milliseconds limit = kLimit);

  // A name in letters and digits that each spelling of the key's path has.
  static std::string NameOf(const std::string& registry_path);

 private:
  // Null if another process holds the lock after the limit or, with `reason`, if it cannot be made.
  static std::shared_ptr<void> Acquire(const std::filesystem::path& machine,
                                       const std::string& name, std::chrono::milliseconds limit,
                                       std::string& reason);

  std::shared_ptr<void> held_;
};

}  // namespace orv::cli
