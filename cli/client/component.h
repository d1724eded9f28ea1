// The component as a client finds it: its classes and its registration.
#pragma once

#include <filesystem>
#include <new>
#include <string_view>

#include "cli/client/diagnostic_lines.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/dynamic_library.h"

namespace orv::cli {

class Component {
 public:
  // Makes the machine of the folder (empty: the system's) the component's own, shows its diagnostic
  // lines on standard error if asked to, then finds and loads the component. Throws Failure with
  // the places where it was looked for, or if the component does not work on this machine.
  explicit Component(const std::filesystem::path& machine,
                     Diagnostics diagnostics = Diagnostics::None);
  ~Component();  // when none of its objects is left
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  HRESULT CreateSystem(IORVAPOSystem** system) const;
  // Adds or removes the registration, of the machine or of the current user.
  HRESULT SetRegistered(bool registered, bool for_user) const {
    if (for_user) {
      const auto install = Export<ORVDllInstall>("DllInstall");
      return install != nullptr ? install(registered ? TRUE : FALSE, L"user") : E_NOTIMPL;
    }
    const auto change =
        Export<ORVDllRegisterServer>(registered ? "DllRegisterServer" : "DllUnregisterServer");
    return change != nullptr ? change() : E_NOTIMPL;
  }

 private:
  // Throws Failure if it cannot be loaded.
  DynamicLibrary& Library() const;
  // An export of the library; null if it has none of this name.
  template <class Function>
  Function Export(const char* name) const {
    return reinterpret_cast<Function>(Library().Find(name));
  }

  mutable DynamicLibrary library_;
};

// A text for the component.
inline UniqueBstr NewText(std::wstring_view text) {
  UniqueBstr copy(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

}  // namespace orv::cli
