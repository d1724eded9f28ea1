#include "cli/client/host.h"

#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <system_error>
#include <thread>

#include "cli/client/user_machines.h"
#include "cli/show/failure.h"
#include "platform/terminal.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

// The event that a signal handler can reach, and how many handlers are running: a signal may come
// on any thread.
std::atomic<Event*> g_stop = nullptr;
std::atomic<int> g_handlers = 0;
std::atomic<int> g_signal = 0;  // the one that came first
static_assert(std::atomic<Event*>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
void (*g_former[std::size(kStopSignals)])(int) = {};

extern "C" void RequestStop(int signal) {
  ++g_handlers;
  int none = 0;
  g_signal.compare_exchange_strong(none, signal);
  if (Event* const stop = g_stop) stop->Set();
  --g_handlers;
}

}  // namespace

// Nothing is translated here.
struct StandardStreams::State {};
StandardStreams::StandardStreams() = default;
StandardStreams::~StandardStreams() = default;

std::vector<std::string> ProgramArguments(int argc, char** argv) { return {argv, argv + argc}; }

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path UserMachinesFolder() {
  const auto folder_of = [](const char* variable) -> std::filesystem::path {
    const char* const named = std::getenv(variable);
    // A relative path there is to be ignored.
    return named != nullptr && *named == '/' ? named : "";
  };
  std::filesystem::path data = folder_of("XDG_DATA_HOME");
  if (data.empty() && !folder_of("HOME").empty()) data = folder_of("HOME") / ".local/share";
  return data.empty() ? data : data / "orvctl/machines";
}

std::filesystem::path DefaultMachineFolder() {
  if (const char* named = std::getenv(kMachineVariable); named != nullptr && *named != 0)
    return named;
  const std::filesystem::path machines = UserMachinesFolder();
  if (!machines.empty()) return machines / kDefaultSample;
  throw Failure(kRefused,
                "there is no folder for your copy of the sample machine: neither XDG_DATA_HOME nor "
                "HOME is set.\nName a machine's folder with --machine or {}.",
                kMachineVariable);
}

std::unique_ptr<Machine> OpenSystemMachine() {
  return OpenMachine(ReadableMachineFolder(DefaultMachineFolder()));
}

bool OutputIsTerminal() {
  const char* const kind = std::getenv("TERM");
  if (kind != nullptr && std::string_view(kind) == "dumb") return false;
  std::error_code error;
  const std::string target = std::filesystem::read_symlink("/proc/self/fd/1", error).string();
  return !error && (target.starts_with("/dev/pts/") || target.starts_with("/dev/tty"));
}

bool ErrorsAreOnTerminal() {
  const char* const kind = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && (kind == nullptr || std::string_view(kind) != "dumb");
}

int OutputColumns() {
  winsize size{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
  return known ? size.ws_col : TerminalSize().columns;
}

bool OutputShowsUtf8() {
  // The first that is set decides, as for the C runtime.
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const named = std::getenv(variable);
    if (named == nullptr || *named == 0) continue;
    const std::wstring locale = ToUpperAscii(WideFromUtf8(named));
    return locale.find(L"UTF-8") != std::wstring::npos ||
           locale.find(L"UTF8") != std::wstring::npos;
  }
  return false;
}

void WriteToErrors(std::string_view text) noexcept {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

std::uint32_t CurrentThreadNumber() noexcept {
  return static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

StopOnSignal::StopOnSignal(Event& stop, Ordinary ordinary) : ordinary_(ordinary) {
  g_stop = &stop;
  g_signal = 0;
  for (std::size_t i = 0; i < std::size(kStopSignals); ++i) {
    g_former[i] = std::signal(kStopSignals[i], RequestStop);
    // What the caller has switched off, as "nohup" does, stays so.
    if (g_former[i] == SIG_IGN) std::signal(kStopSignals[i], SIG_IGN);
  }
}

StopOnSignal::~StopOnSignal() {
  for (std::size_t i = 0; i < std::size(kStopSignals); ++i)
    std::signal(kStopSignals[i], g_former[i]);
  g_stop = nullptr;
  while (g_handlers != 0) std::this_thread::yield();
  const int signal = g_signal;
  const bool is_ordinary = (signal == SIGINT && ordinary_ != Ordinary::None) ||
                           (signal == SIGTERM && ordinary_ == Ordinary::InterruptOrTermination);
  if (signal != 0 && !is_ordinary) std::raise(signal);
}

}  // namespace orv::cli
