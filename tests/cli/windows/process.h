// Programs started with standard streams of the caller's choice.
#pragma once

#include <windows.h>

#include <filesystem>
#include <optional>

#include "cli/program_host.h"

namespace orv::cli {

struct StandardHandles {
  HANDLE input = nullptr;  // each one inheritable
  HANDLE output = nullptr;
  HANDLE errors = nullptr;
};

// The program's exit status once it has ended; nothing when it did not start, or had to be ended
// because it did not end by itself. `console` is one to start it on (an HPCON).
std::optional<DWORD> RunProcess(const std::filesystem::path& program, const Arguments& arguments,
                                const StandardHandles& streams, void* console = nullptr);

}  // namespace orv::cli
