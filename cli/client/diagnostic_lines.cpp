#include "cli/client/diagnostic_lines.h"

#include <fmt/format.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "cli/client/host.h"
#include "cli/show/clock.h"
#include "platform/diagnostics.h"

namespace orv::cli {
namespace {

// A thread that the component terminates may have held the lock for ever; lines go on without it.
constexpr std::chrono::milliseconds kPatience{200};
// Waits in steps: the thread sanitizer does not follow the waiting of std::timed_mutex.
class Lock : public std::mutex {
 public:
  bool try_lock_for(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!try_lock()) {
      if (std::chrono::steady_clock::now() >= end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }
};
Lock g_lock;
Diagnostics g_diagnostics = Diagnostics::None;
bool g_keeping = false;
std::string g_kept;

}  // namespace

void ShowDiagnostics(Diagnostics diagnostics) {
  // This program's own use of the component's sources is not reported.
  static const DiagnosticCapture own([](std::wstring_view) {});
  const std::unique_lock guard(g_lock, kPatience);
  g_diagnostics = diagnostics;
  g_keeping = diagnostics == Diagnostics::Command;
}

void TakeDiagnosticLine(std::string_view line) noexcept {
  try {
    while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
    const std::unique_lock guard(g_lock, kPatience);
    if (g_diagnostics == Diagnostics::None) return;
    const std::string text = fmt::format(
        "{} [{}] {}\n", LocalClock(std::chrono::system_clock::now()), CurrentThreadNumber(), line);
    if (g_keeping)
      g_kept += text;
    else
      WriteToErrors(text);
  } catch (...) {
    return;  // without memory the line is lost
  }
}

void EndOpening() {
  const std::unique_lock guard(g_lock, kPatience);
  g_kept.clear();
  g_keeping = false;
}

void ShowKeptDiagnostics() noexcept {
  const std::unique_lock guard(g_lock, kPatience);
  WriteToErrors(g_kept);
  g_kept.clear();
  g_keeping = false;
}

}  // namespace orv::cli
