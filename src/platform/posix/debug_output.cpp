#include "platform/debug_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/text.h"

namespace orv {
namespace {

// The channel stays open until the process ends; -1 if there is none.
int Channel() noexcept {
  static const int channel = [] {
    const char* name = std::getenv("ORV_DIAGNOSTICS");
    if (name == nullptr || *name == '\0') return -1;
    if (std::string_view(name) == "stderr") return STDERR_FILENO;
    return ::open(name, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  }();
  return channel;
}

}  // namespace

bool DebugOutputWanted() noexcept { return Channel() >= 0; }

void WriteDebugOutput(const wchar_t* line) noexcept {
  if (!DebugOutputWanted()) return;
  try {
    // One write for the whole line, without a lock that a terminated thread could leave held.
    const std::string utf8 = Utf8FromWide(line);
    std::string_view rest = utf8;
    while (!rest.empty()) {
      const ssize_t written = ::write(Channel(), rest.data(), rest.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return;
      rest.remove_prefix(static_cast<std::size_t>(written));
    }
  } catch (...) {
    return;  // without memory the line is lost, its reporter goes on
  }
}

}  // namespace orv
