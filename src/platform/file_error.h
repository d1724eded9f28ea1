// Why a file cannot be used.
#pragma once

#include <filesystem>
#include <string>

namespace orv {

struct FileError {
  std::filesystem::path file;
  int line = 0;  // 1-based; 0 if the reason is not about a line
  std::string reason;

  // "machine.json:12: endpoints[0].state: expected a number or a state's name".
  std::string Text() const {
    const std::string place = file.generic_string() + (line > 0 ? ":" + std::to_string(line) : "");
    return place.empty() ? reason : place + ": " + reason;
  }
};

}  // namespace orv
