// A folder that exists as long as this object.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace orv {

class TemporaryFolder : boost::noncopyable {
 public:
  TemporaryFolder() {
    std::random_device random;
    do {
      path_ = std::filesystem::temp_directory_path() / ("orv-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace orv
