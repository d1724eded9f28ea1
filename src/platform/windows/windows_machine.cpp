#include "platform/windows/windows_machine.h"

#include <windows.h>
// windows.h first: the headers below depend on it.
#include <mmdeviceapi.h>
#include <shlobj.h>

#include "platform/files.h"
#include "platform/text.h"
#include "platform/windows/system_calls.h"

namespace orv {
HRESULT WindowsMachine::CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) {
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  return ::CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_ALL, IID_IMMDeviceEnumerator,
                            reinterpret_cast<void**>(enumerator));
}

std::optional<std::wstring> WindowsMachine::KnownFolder(REFGUID folder) {
  PWSTR path = nullptr;
  std::optional<std::wstring> result;
  if (SUCCEEDED(::SHGetKnownFolderPath(folder, 0, nullptr, &path))) result = path;
  ::CoTaskMemFree(path);
  return result;
}

std::optional<std::wstring> WindowsMachine::SystemDirectory() {
  std::wstring path(::GetSystemDirectoryW(nullptr, 0), L'\0');
  const UINT length = ::GetSystemDirectoryW(path.data(), static_cast<UINT>(path.size()));
  if (length == 0 || length >= path.size()) return std::nullopt;
  path.resize(length);
  return path;
}

bool WindowsMachine::IsPlatformVersion(std::uint32_t major, std::uint32_t minor) {
  OSVERSIONINFOEXW version{};
  version.dwOSVersionInfoSize = sizeof version;
  version.dwMajorVersion = major;
  version.dwMinorVersion = minor;
  DWORDLONG conditions = ::VerSetConditionMask(0, VER_MAJORVERSION, VER_EQUAL);
  conditions = ::VerSetConditionMask(conditions, VER_MINORVERSION, VER_EQUAL);
  return ::VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION, conditions) != 0;
}

bool WindowsMachine::Is32BitProcess() {
  BOOL is_wow64 = FALSE;
  return ::IsWow64Process(::GetCurrentProcess(), &is_wow64) != 0 && is_wow64 != FALSE;
}

bool WindowsMachine::FileExists(const std::wstring& path) {
  const auto file = HostFile(path);
  const NoErrorBoxes quiet;
  return file && ::GetFileAttributesW(file->c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::optional<std::filesystem::path> WindowsMachine::HostFile(const std::wstring& path) {
  if (path.empty() || path.find(L'\0') != std::wstring::npos) return std::nullopt;
  return path;
}

std::optional<std::string> WindowsMachine::HostPath(const std::wstring& path) {
  if (Narrow(path).empty()) return std::nullopt;
  return CRuntimePath(path);
}

}  // namespace orv
