// Commands that the user names, run by the system's shell.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// Names and values in UTF-8.
using EnvironmentVariables = std::vector<std::pair<std::string, std::string>>;

enum class ShellOutput { Shared, ToErrors };

// Runs the command line (UTF-8) with this process's environment and `added`, which comes first, and
// waits for its end. It shares the standard streams; with ToErrors its output goes to standard
// error. Returns its exit status, 128 and the signal's number if a signal ended it; nullopt with
// the reason if the shell cannot be started.
std::optional<int> RunInShell(const std::string& command, const EnvironmentVariables& added,
                              ShellOutput output, std::string& reason);

}  // namespace orv
