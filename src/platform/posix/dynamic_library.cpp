#include "platform/dynamic_library.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

// The host's root folder is drive Z:.
std::wstring DrivePath(const std::filesystem::path& path) {
  std::wstring wide = L"Z:" + WideFromUtf8(path.native());
  for (wchar_t& unit : wide)
    if (unit == L'/') unit = L'\\';
  return wide;
}

std::filesystem::path ProgramFile() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error);
}

// The file this code was loaded from; empty for the program itself, which the loader lists without
// a name.
std::filesystem::path ModuleFile() {
  static const char marker = 0;
  Dl_info info{};
  void* entry = nullptr;
  if (::dladdr1(&marker, &info, &entry, RTLD_DL_LINKMAP) == 0 || entry == nullptr) return {};
  return static_cast<const link_map*>(entry)->l_name;
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
  // A bare name would be searched for in the system's folders.
  const std::filesystem::path path = file.has_parent_path() ? file : "." / file;
  handle_ = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  return loaded();
}

void DynamicLibrary::Free() noexcept {
  if (void* handle = std::exchange(handle_, nullptr)) ::dlclose(handle);
}

void* DynamicLibrary::Find(const char* name) const noexcept {
  return loaded() ? ::dlsym(handle_, name) : nullptr;
}

std::wstring OwnModulePath() {
  const std::filesystem::path file = ModuleFile();
  if (file.empty()) return HostProgramPath();
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(file, error);
  return DrivePath(error ? std::filesystem::absolute(file, error) : real);
}

std::wstring HostProgramPath() { return DrivePath(ProgramFile()); }

}  // namespace orv
