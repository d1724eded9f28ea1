#include "platform/dynamic_library.h"

#include <windows.h>

#include <system_error>

#include "platform/windows/system_calls.h"

namespace orv {
namespace {

// File of a loaded module, null for the program; empty if the system does not give it.
std::wstring ModuleFile(HMODULE module) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(2 * path.size());
  }
}

}  // namespace

void DynamicLibrary::Unload::operator()(void* handle) const noexcept {
  ::FreeLibrary(static_cast<HMODULE>(handle));
}

bool DynamicLibrary::Load(const std::filesystem::path& file) {
  Free();
  // A bare name would be searched for in the system's folders, and only a full path makes the
  // module's own folder the first place for what it needs, if it has backslashes.
  std::error_code error;
  std::filesystem::path full = std::filesystem::absolute(file, error);
  if (error) return false;
  full.make_preferred();
  const NoErrorBoxes quiet;
  handle_.reset(::LoadLibraryExW(full.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  return loaded();
}

void* DynamicLibrary::Find(const char* name) const noexcept {
  if (!loaded()) return nullptr;
  return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(handle_.get()), name));
}

std::wstring OwnModulePath() {
  static const char marker = 0;
  HMODULE module = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&marker), &module);
  return ModuleFile(module);
}

std::wstring HostProgramPath() { return ModuleFile(nullptr); }

}  // namespace orv
