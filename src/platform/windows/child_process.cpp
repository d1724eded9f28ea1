#include "platform/child_process.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

#include "platform/text.h"
#include "platform/windows/system_calls.h"

namespace orv {
namespace {

// The environment of this process as a block, with the added variables.
std::wstring EnvironmentBlock(const EnvironmentVariables& added) {
  std::wstring block;
  for (const auto& [name, value] : added) block += WideFromUtf8(name + "=" + value) + L'\0';
  wchar_t* const inherited = GetEnvironmentStringsW();
  for (const wchar_t* line = inherited; line != nullptr && *line != 0;) {
    const std::wstring_view text = line;
    const bool replaced = std::ranges::any_of(added, [&](const auto& variable) {
      return text.starts_with(WideFromUtf8(variable.first) + L"=");
    });
    if (!replaced) block.append(text).append(1, L'\0');
    line += text.size() + 1;
  }
  if (inherited != nullptr) FreeEnvironmentStringsW(inherited);
  return block + L'\0';
}

}  // namespace

std::optional<int> RunInShell(const std::string& command, const EnvironmentVariables& added,
                              ShellOutput output, std::string& reason) {
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  start.hStdOutput =
      output == ShellOutput::ToErrors ? start.hStdError : GetStdHandle(STD_OUTPUT_HANDLE);
  // The shell removes the outer quotation marks.
  std::wstring line = L"cmd.exe /s /c \"" + WideFromUtf8(command) + L"\"";
  std::wstring environment = EnvironmentBlock(added);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT,
                      environment.data(), nullptr, &start, &process)) {
    reason = SystemErrorText(GetLastError());
    return std::nullopt;
  }
  const Handle child(process.hProcess);
  const Handle thread(process.hThread);
  WaitForSingleObject(child.get(), INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(child.get(), &status);
  return static_cast<int>(status);
}

}  // namespace orv
