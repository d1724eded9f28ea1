#include "platform/debug_output.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/text.h"

namespace orv {
namespace {

// Takes a line in UTF-8.
using LineTaker = void (*)(const char* line, std::size_t size);

struct Channel {
  int file = -1;  // open until the process ends; -1 if there is none
  LineTaker taker = nullptr;

  Channel() noexcept {
    const char* name = std::getenv("ORV_DIAGNOSTICS");
    if (name == nullptr || *name == '\0') return;
    if (std::string_view(name) == "program")
      taker = reinterpret_cast<LineTaker>(::dlsym(RTLD_DEFAULT, "OrvDebugOutput"));
    else if (std::string_view(name) == "stderr")
      file = STDERR_FILENO;
    else
      file = ::open(name, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  }
};

const Channel& TheChannel() noexcept {
  static const Channel channel;
  return channel;
}

}  // namespace

bool DebugOutputWanted() noexcept {
  return TheChannel().file >= 0 || TheChannel().taker != nullptr;
}

void WriteDebugOutput(const wchar_t* line) noexcept {
  if (!DebugOutputWanted()) return;
  try {
    // One write for the whole line, without a lock that a terminated thread could leave held.
    const std::string utf8 = Utf8FromWide(line);
    if (const LineTaker take = TheChannel().taker) return take(utf8.data(), utf8.size());
    std::string_view rest = utf8;
    while (!rest.empty()) {
      const ssize_t written = ::write(TheChannel().file, rest.data(), rest.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return;
      rest.remove_prefix(static_cast<std::size_t>(written));
    }
  } catch (...) {
    return;  // without memory the line is lost, its reporter goes on
  }
}

}  // namespace orv
