#include "platform/browser.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv {

// The shell ends at once, so that the starter is not a child of this program.
bool OpenInBrowser(const std::string& address) {
  static constexpr char kScript[] =
      "command -v xdg-open >/dev/null || exit 1; xdg-open \"$0\" >/dev/null 2>&1 </dev/null &";
  const char* const words[] = {"sh", "-c", kScript, address.c_str(), nullptr};
  pid_t shell = 0;
  if (posix_spawn(&shell, "/bin/sh", nullptr, nullptr, const_cast<char* const*>(words), environ) !=
      0)
    return false;
  int status = 0;
  return waitpid(shell, &status, 0) == shell && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace orv
