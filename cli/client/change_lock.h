// A lock between processes of this program for the changes to one endpoint.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

namespace orv::cli {

// Held by one process at a time for one registry key of the machine, from the first reading to the
// verification of what was written. The system releases it when the process ends in any way.
class ChangeLock {
 public:
  static constexpr std::chrono::seconds kLimit{30};

  // Waits for other holders. Throws Failure if one is still there after the limit or if the lock
  // cannot be made. `machine` is the folder of a simulated machine, else it is not used.
  ChangeLock(const std::filesystem::path& machine, const std::string& registry_path,
             std::chrono::milliseconds limit = kLimit);
  ~ChangeLock();
  ChangeLock(const ChangeLock&) = delete;
  ChangeLock& operator=(const ChangeLock&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The same for every spelling of the key's path, in letters and digits.
std::string ChangeLockName(const std::string& registry_path);

[[noreturn]] void ChangeLockTimedOut(const std::string& registry_path);
[[noreturn]] void ChangeLockFailed(const std::string& registry_path, const std::string& reason);

}  // namespace orv::cli
