#include "cli/client/host.h"

#include <system_error>

#include "cli/client/windows/console.h"
#include "cli/client/windows/diagnostic_line.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "orv_apo/com.h"
#include "platform/dynamic_library.h"
#include "platform/text.h"
#include "platform/windows/windows_machine.h"
#include "simulated/simulated_machine.h"
// Needs what the headers above declare.
#include <shellapi.h>

namespace orv::cli {
namespace {

// Debug output travels as an exception, once wide and, when nobody takes that, once narrow: size
// with the terminator, then the text.
constexpr DWORD kNarrowDebugOutput = 0x40010006;
constexpr DWORD kWideDebugOutput = 0x4001000A;

std::wstring FromSystemCodePage(const char* text, int size) {
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text, size, wide.data(), static_cast<int>(wide.size()))));
  return wide;
}

LONG CALLBACK ShowDebugOutput(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  const bool is_wide = record.ExceptionCode == kWideDebugOutput;
  if (!is_wide && record.ExceptionCode != kNarrowDebugOutput) return EXCEPTION_CONTINUE_SEARCH;
  const std::size_t size = record.ExceptionInformation[0];
  const ULONG_PTR text = record.ExceptionInformation[1];
  if (size <= 1) return EXCEPTION_CONTINUE_EXECUTION;
  try {
    const std::wstring line =
        is_wide
            ? std::wstring(reinterpret_cast<const wchar_t*>(text), size - 1)
            : FromSystemCodePage(reinterpret_cast<const char*>(text), static_cast<int>(size - 1));
    if (IsDiagnosticLine(line)) WriteError(line);
  } catch (...) {
    return EXCEPTION_CONTINUE_EXECUTION;  // without memory the line is lost
  }
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

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

std::unique_ptr<Machine> OpenMachine(std::filesystem::path& folder) {
  if (folder.empty()) return std::make_unique<WindowsMachine>();
  FileError error;
  std::unique_ptr<SimulatedMachine> machine = SimulatedMachine::Open(folder, error);
  if (machine == nullptr) {
    throw Failure(kRefused, "the machine in " + PathText(folder) + " is refused.\n" + error.Text());
  }
  return machine;
}

void PrepareComponent(const std::filesystem::path& folder, bool diagnostics) {
  if (!folder.empty()) {
    throw Failure(kUsage,
                  "the component works on the machine it is registered on, on no simulated one.\n"
                  "Leave out --machine.");
  }
  if (diagnostics) AddVectoredExceptionHandler(TRUE, &ShowDebugOutput);
}

bool OutputIsTerminal() {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(output, &mode) != FALSE &&
         SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

}  // namespace orv::cli
