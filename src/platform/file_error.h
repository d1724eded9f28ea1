// Why a file cannot be used.
#pragma once

#include <filesystem>
#include <string>

namespace orv {

// Why a file was refused: "machine.json:12: endpoints[0].state: expected a number or a state's
// name".
struct FileError {
  std::filesystem::path file;
  int line = 0;  // 1-based; 0 when no line is meant
  std::string reason;

  std::string Text() const;
};

}  // namespace orv
