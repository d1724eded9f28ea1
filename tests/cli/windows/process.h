// Programs started with standard streams of the caller's choice.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

#include "cli/program_host.h"

namespace orv::cli {

struct StandardHandles {
  HANDLE input = nullptr;  // each one inheritable
  HANDLE output = nullptr;
  HANDLE errors = nullptr;
};

struct ProcessEnd {
  DWORD status = ~DWORD{0};
  std::string failure;  // why there is no status of the program's own; empty if there is one
};

// Waits for the program and ends it after a minute. `console` is one to start it on (an HPCON).
ProcessEnd RunProcess(const std::filesystem::path& program, const Arguments& arguments,
                      const StandardHandles& streams, void* console = nullptr);

}  // namespace orv::cli
