#include "platform/child_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace orv {

std::optional<int> RunInShell(const std::string& command, const EnvironmentVariables& added,
                              ShellOutput output, std::string& reason) {
  std::vector<std::string> lines;
  for (const auto& [name, value] : added) lines.push_back(name + "=" + value);
  std::vector<char*> environment;
  for (std::string& line : lines) environment.push_back(line.data());
  for (char** inherited = environ; *inherited != nullptr; ++inherited) {
    const std::string_view line = *inherited;
    const bool replaced = std::ranges::any_of(
        added, [&](const auto& variable) { return line.starts_with(variable.first + "="); });
    if (!replaced) environment.push_back(*inherited);
  }
  environment.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (output == ShellOutput::ToErrors)
    posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
  std::string words[] = {"sh", "-c", command};
  char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t process = 0;
  const int error =
      posix_spawn(&process, "/bin/sh", &actions, nullptr, arguments, environment.data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    reason = std::generic_category().message(error);
    return std::nullopt;
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace orv
