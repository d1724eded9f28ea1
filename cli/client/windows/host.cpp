#include "cli/client/host.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>
#include <mutex>
#include <optional>
#include <system_error>

#include "cli/client/windows/console.h"
#include "orv_apo/com.h"
#include "platform/dynamic_library.h"
#include "platform/terminal.h"
#include "platform/text.h"
#include "platform/windows/system_calls.h"
#include "platform/windows/windows_machine.h"
// Needs what the headers above declare.
#include <shellapi.h>

namespace orv::cli {
namespace {

// Guards the event that a request reaches: each request comes on a thread of its own.
std::mutex g_stop_lock;
Event* g_stop = nullptr;

// A handler of the system: one of the C runtime is removed by the first request.
BOOL WINAPI RequestStop(DWORD request) {
  if (request != CTRL_C_EVENT && request != CTRL_BREAK_EVENT) return FALSE;
  const std::lock_guard guard(g_stop_lock);
  if (g_stop == nullptr) return FALSE;
  g_stop->Set();
  return TRUE;
}

// A stream that the caller closed has no file.
void UseBytes(std::FILE* stream) {
  const int file = _fileno(stream);
  if (file >= 0) _setmode(file, _O_BINARY);
}

}  // namespace

struct StandardStreams::State {
  // One of the streams for output, and the console's mode when it goes to one.
  class OutputStream {
   public:
    OutputStream(std::ostream& stream, std::FILE* file, DWORD standard_handle)
        : stream_(stream), console_(GetStdHandle(standard_handle)) {
      if (GetConsoleMode(console_, &mode_) == FALSE) {
        UseBytes(file);
        return;
      }
      buffer_.emplace([this](std::wstring_view text) { return WriteConsoleText(console_, text); });
      former_ = stream_.rdbuf(&*buffer_);
    }
    ~OutputStream() {
      stream_.flush();
      if (!buffer_) return;
      stream_.rdbuf(former_);
      buffer_.reset();
      SetConsoleMode(console_, mode_);
    }
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

   private:
    std::ostream& stream_;
    HANDLE console_;
    DWORD mode_ = 0;
    std::optional<Utf8Buffer> buffer_;
    std::streambuf* former_ = nullptr;
  };

  OutputStream output{std::cout, stdout, STD_OUTPUT_HANDLE};
  OutputStream errors{std::cerr, stderr, STD_ERROR_HANDLE};
};

StandardStreams::StandardStreams() : state_(std::make_unique<State>()) {
  // What is typed keeps its end key and its line ends.
  if (!IsConsole(GetStdHandle(STD_INPUT_HANDLE))) UseBytes(stdin);
}

StandardStreams::~StandardStreams() = default;

std::vector<std::string> ProgramArguments(int, char**) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "reading the command line");
  }
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(Utf8FromWide(wide[i]));
  LocalFree(wide);
  return arguments;
}

std::filesystem::path ProgramFolder() {
  return std::filesystem::path(HostProgramPath()).parent_path();
}

std::filesystem::path UserMachinesFolder() { return {}; }

std::filesystem::path DefaultMachineFolder() { return {}; }

std::unique_ptr<Machine> OpenSystemMachine() { return std::make_unique<WindowsMachine>(); }

bool OutputIsTerminal() {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(output, &mode) != FALSE &&
         SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

// Notices are written without control sequences there.
bool ErrorsAreOnTerminal() { return false; }

int OutputColumns() {
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen))
    return TerminalSize().columns;
  return screen.srWindow.Right - screen.srWindow.Left + 1;
}

// StandardStreams shows UTF-8 on a console.
bool OutputShowsUtf8() { return true; }

void WriteToErrors(std::string_view text) noexcept {
  const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
  try {
    if (IsConsole(console)) {
      WriteConsoleText(console, WideFromUtf8(text));
      return;
    }
  } catch (...) {
    return;  // without memory the text is lost
  }
  std::fwrite(text.data(), 1, text.size(), stderr);
}

std::uint32_t CurrentThreadNumber() noexcept { return GetCurrentThreadId(); }

// The system itself ends the program at any other request.
StopOnSignal::StopOnSignal(Event& stop, Ordinary ordinary) : ordinary_(ordinary) {
  const std::lock_guard guard(g_stop_lock);
  g_stop = &stop;
  SetConsoleCtrlHandler(&RequestStop, TRUE);
}

StopOnSignal::~StopOnSignal() {
  SetConsoleCtrlHandler(&RequestStop, FALSE);
  const std::lock_guard guard(g_stop_lock);
  g_stop = nullptr;
}

}  // namespace orv::cli
