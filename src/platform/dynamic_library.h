// Loadable modules, and where this module and its host program lie.
#pragma once

#include <filesystem>
#include <string>

namespace orv {

// A loaded module; freed when destroyed.
class DynamicLibrary {
 public:
  DynamicLibrary() = default;
  ~DynamicLibrary() { Free(); }
  DynamicLibrary(DynamicLibrary&& other) noexcept;
  DynamicLibrary& operator=(DynamicLibrary&& other) noexcept;

  // Loads the module file at a path of the system's own form (Machine::HostFile). False, with
  // nothing loaded, when it is missing or no module.
  bool Load(const std::filesystem::path& file);
  void Free() noexcept;
  bool loaded() const noexcept { return handle_ != nullptr; }
  // Address of an exported symbol, or null.
  void* Find(const char* name) const noexcept;

 private:
  void* handle_ = nullptr;
};

// Full path of the module this code was linked into, and of the host program's executable, as wide
// text with backslashes. Natively the host's root folder appears as drive Z: ("Z:\usr\bin\x").
std::wstring OwnModulePath();
std::wstring HostProgramPath();

}  // namespace orv
