// Loadable modules, and the paths of this module and its host program.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace orv {

// A loaded module; freed when destroyed.
class DynamicLibrary {
 public:
  // Loads the module file at a path of the system's own form (Machine::HostFile). False, with
  // no module loaded, if it is missing or not a module.
  bool Load(const std::filesystem::path& file);
  void Free() noexcept { handle_.reset(); }
  bool loaded() const noexcept { return handle_ != nullptr; }
  // Address of an exported symbol, or null.
  void* Find(const char* name) const noexcept;

 private:
  struct Unload {
    void operator()(void* handle) const noexcept;
  };
  std::unique_ptr<void, Unload> handle_;
};

// Full path of the module this code was linked into, and of the host program's executable, as wide
// text with backslashes. Natively the host's root folder appears as drive Z: ("Z:\usr\bin\x").
std::wstring OwnModulePath();
std::wstring HostProgramPath();

}  // namespace orv
