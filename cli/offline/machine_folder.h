// Copies of simulated machines.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <filesystem>
#include <string>
#include <vector>

namespace orv::cli {

// The machines in a folder of machines, in name order; none if it cannot be read. An empty path is
// the current folder.
std::vector<std::string> MachineNames(const std::filesystem::path& folder);

// Copies a machine's folder to a new or empty one. Throws Failure if `source` is not a machine's
// folder or `target` is not empty.
void CopyMachine(const std::filesystem::path& source, const std::filesystem::path& target);

// A copy in a folder, the system's one for temporary files by default, deleted with this object.
class TemporaryMachine : boost::noncopyable {
 public:
  explicit TemporaryMachine(
      const std::filesystem::path& source,
      const std::filesystem::path& parent = std::filesystem::temp_directory_path());
  ~TemporaryMachine();

  const std::filesystem::path& folder() const noexcept { return folder_; }

 private:
  std::filesystem::path folder_;
};

}  // namespace orv::cli
