#include "cli/client/host.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <thread>

#include "platform/posix/file_descriptor.h"
#include "platform/terminal.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

// The event that a signal handler can reach, and how many handlers are running: a signal may come
// on any thread.
std::atomic<Event*> g_stop = nullptr;
std::atomic<int> g_handlers = 0;
static_assert(std::atomic<Event*>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void (*g_interrupt)(int) = SIG_DFL;
void (*g_terminate)(int) = SIG_DFL;

extern "C" void RequestStop(int) {
  ++g_handlers;
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

std::filesystem::path DefaultMachineFolder() {
  if (const char* named = std::getenv(kMachineVariable); named != nullptr && *named != 0)
    return named;
  return SampleMachinesFolder() / kDefaultSample;
}

std::unique_ptr<Machine> OpenSystemMachine() { return OpenMachine(DefaultMachineFolder()); }

bool OutputIsTerminal() {
  std::error_code error;
  const std::string target = std::filesystem::read_symlink("/proc/self/fd/1", error).string();
  return !error && (target.starts_with("/dev/pts/") || target.starts_with("/dev/tty"));
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

StopOnSignal::StopOnSignal(Event& stop) {
  g_stop = &stop;
  g_interrupt = std::signal(SIGINT, RequestStop);
  g_terminate = std::signal(SIGTERM, RequestStop);
}

StopOnSignal::~StopOnSignal() {
  std::signal(SIGINT, g_interrupt);
  std::signal(SIGTERM, g_terminate);
  g_stop = nullptr;
  while (g_handlers != 0) std::this_thread::yield();
}

// The file is only locked, never written, so that no watch of the folder reports it.
std::shared_ptr<void> ChangeLock::Acquire(const std::filesystem::path& machine,
                                          const std::string& name, std::chrono::milliseconds limit,
                                          std::string& reason) {
  constexpr std::chrono::milliseconds kRetry{5};
  const auto end = std::chrono::steady_clock::now() + limit;
  const std::filesystem::path file = machine / ("." + name + ".lock");
  const auto lock = std::make_shared<FileDescriptor>(
      ::open(file.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666));  // closing it releases the lock
  while (!*lock || ::flock(lock->get(), LOCK_EX | LOCK_NB) != 0) {
    if (!*lock || (errno != EWOULDBLOCK && errno != EINTR)) {
      reason = file.string() + ": " + std::generic_category().message(errno);
      return nullptr;
    }
    if (std::chrono::steady_clock::now() >= end) return nullptr;
    std::this_thread::sleep_for(kRetry);
  }
  return lock;
}

}  // namespace orv::cli
