// How orvctl runs on the system of the tests.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <filesystem>
#include <string>
#include <vector>

namespace orv::cli {

using Arguments = std::vector<std::string>;

// Files for the program's standard streams; an empty path of the input means no input.
struct StreamFiles {
  std::filesystem::path input;
  std::filesystem::path output;
  std::filesystem::path errors;
};

// Runs orvctl with these arguments (UTF-8) to its end and gives its exit status; -1 when it could
// not be run or did not end by itself.
int RunOrvctl(const Arguments& arguments, const StreamFiles& streams);

// Makes the machine ready that the component works on, with the configuration of the sample
// "skylake-laptop" and the technology library for its first endpoint, and leaves nothing behind.
class ComponentMachine : boost::noncopyable {
 public:
  // A simulated machine is in `folder`.
  explicit ComponentMachine(const std::filesystem::path& folder);
  ~ComponentMachine();

  const Arguments& options() const noexcept { return options_; }  // that name it to orvctl

 private:
  Arguments options_;
};

}  // namespace orv::cli
