#include "platform/dynamic_library.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <system_error>

#include "platform/host_path.h"

namespace orv {
namespace {

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

void DynamicLibrary::Unload::operator()(void* handle) const noexcept { ::dlclose(handle); }

bool DynamicLibrary::Load(const std::filesystem::path& file) {
  Free();
  // A bare name would be searched for in the system's folders.
  const std::filesystem::path path = file.has_parent_path() ? file : "." / file;
  handle_.reset(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  return loaded();
}

void* DynamicLibrary::Find(const char* name) const noexcept {
  return loaded() ? ::dlsym(handle_.get(), name) : nullptr;
}

std::wstring OwnModulePath() {
  const std::filesystem::path file = ModuleFile();
  if (file.empty()) return HostProgramPath();
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(file, error);
  return DriveZPath((error ? std::filesystem::absolute(file, error) : real).native());
}

std::wstring HostProgramPath() { return DriveZPath(ProgramFile().native()); }

}  // namespace orv
