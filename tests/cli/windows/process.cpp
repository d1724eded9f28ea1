#include "cli/windows/process.h"

#include <string>
#include <vector>

#include "platform/text.h"
#include "platform/windows/system_calls.h"

namespace orv::cli {
namespace {

constexpr DWORD kDeadline = 60000;  // milliseconds
constexpr DWORD_PTR kPseudoConsoleAttribute = 0x00020016;

// One word of a command line, as programs take it apart.
std::wstring Quoted(const std::wstring& word) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    // Backslashes count twice before a quotation mark only.
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  quoted.append(backslashes, L'\\');
  return quoted + L"\"";
}

std::wstring CommandLine(const std::filesystem::path& program, const Arguments& arguments) {
  std::wstring line = Quoted(program.wstring());
  for (const std::string& argument : arguments) line += L" " + Quoted(WideFromUtf8(argument));
  return line;
}

std::string Failed(const char* call, DWORD error) {
  return std::string(call) + " failed: " + std::to_string(error) + ", " + SystemErrorText(error);
}

}  // namespace

ProcessEnd RunProcess(const std::filesystem::path& program, const Arguments& arguments,
                      const StandardHandles& streams, void* console) {
  STARTUPINFOEXW start{};
  start.StartupInfo.cb = sizeof start;
  start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  start.StartupInfo.hStdInput = streams.input;
  start.StartupInfo.hStdOutput = streams.output;
  start.StartupInfo.hStdError = streams.errors;
  std::vector<char> attributes;
  if (console != nullptr) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    attributes.resize(size);
    start.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributes.data());
    InitializeProcThreadAttributeList(start.lpAttributeList, 1, 0, &size);
    UpdateProcThreadAttribute(start.lpAttributeList, 0, kPseudoConsoleAttribute, console,
                              sizeof console, nullptr, nullptr);
  }
  std::wstring line = CommandLine(program, arguments);
  PROCESS_INFORMATION process{};
  const BOOL started =
      CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, EXTENDED_STARTUPINFO_PRESENT,
                     nullptr, nullptr, &start.StartupInfo, &process);
  const DWORD error = GetLastError();
  if (console != nullptr) DeleteProcThreadAttributeList(start.lpAttributeList);
  if (!started) return {.failure = Failed("CreateProcess", error)};
  ProcessEnd end;
  const DWORD waited = WaitForSingleObject(process.hProcess, kDeadline);
  if (waited == WAIT_TIMEOUT) {
    end.failure = "the program did not end within " + std::to_string(kDeadline / 1000) + " s";
    TerminateProcess(process.hProcess, 1);
  } else if (waited != WAIT_OBJECT_0) {
    end.failure = Failed("WaitForSingleObject", GetLastError());
  } else if (!GetExitCodeProcess(process.hProcess, &end.status)) {
    end.failure = Failed("GetExitCodeProcess", GetLastError());
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return end;
}

}  // namespace orv::cli
