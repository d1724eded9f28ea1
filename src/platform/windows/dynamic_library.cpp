#include "platform/dynamic_library.h"

#include <windows.h>

#include <system_error>
#include <utility>

#include "platform/windows/error_boxes.h"

namespace orv {
namespace {

// File of a loaded module, null for the program; empty when it cannot be had.
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

DynamicLibrary::DynamicLibrary(DynamicLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)) {}

DynamicLibrary& DynamicLibrary::operator=(DynamicLibrary&& other) noexcept {
  if (this != &other) {
    Free();
    handle_ = std::exchange(other.handle_, nullptr);
  }
  return *this;
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
  handle_ = ::LoadLibraryExW(full.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  return loaded();
}

void DynamicLibrary::Free() noexcept {
  if (void* handle = std::exchange(handle_, nullptr)) ::FreeLibrary(static_cast<HMODULE>(handle));
}

void* DynamicLibrary::Find(const char* name) const noexcept {
  if (!loaded()) return nullptr;
  return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(handle_), name));
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
