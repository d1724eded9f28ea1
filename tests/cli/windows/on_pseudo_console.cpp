// on_pseudo_console PROGRAM ARGUMENTS...: runs it on a hidden console of its own, with this
// program's standard streams, and ends with its exit status.
#include <windows.h>

#include <cstdio>
#include <thread>

#include "cli/windows/process.h"
#include "platform/text.h"

namespace {

// The console stops unless its output is read.
void Drain(HANDLE shown) {
  char bytes[4096];
  DWORD read = 0;
  while (ReadFile(shown, bytes, sizeof bytes, &read, nullptr) && read > 0) continue;
}

HANDLE Inheritable(DWORD standard_handle) {
  const HANDLE handle = GetStdHandle(standard_handle);
  SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  return handle;
}

}  // namespace

int wmain(int count, wchar_t** words) {
  HANDLE typed = nullptr;
  HANDLE keyboard = nullptr;
  HANDLE shown = nullptr;
  HANDLE screen = nullptr;
  HPCON console = nullptr;
  if (count < 2 || !CreatePipe(&typed, &keyboard, nullptr, 0) ||
      !CreatePipe(&shown, &screen, nullptr, 0) ||
      FAILED(CreatePseudoConsole({100, 30}, typed, screen, 0, &console))) {
    std::fputs("no console can be made\n", stderr);
    return 1;
  }
  std::thread(Drain, shown).detach();
  orv::cli::Arguments arguments;
  for (int i = 2; i < count; ++i) arguments.push_back(orv::Utf8FromWide(words[i]));
  const auto end =
      orv::cli::RunProcess(words[1], arguments,
                           {Inheritable(STD_INPUT_HANDLE), Inheritable(STD_OUTPUT_HANDLE),
                            Inheritable(STD_ERROR_HANDLE)},
                           console);
  if (!end.failure.empty()) std::fprintf(stderr, "%s\n", end.failure.c_str());
  // What is left of the console goes with this process.
  ExitProcess(end.status);
}
