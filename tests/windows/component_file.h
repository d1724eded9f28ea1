// The built component's file and what the registry holds of it.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/guid_text.h"
#include "platform/host_path.h"

namespace orv {

inline std::wstring ComponentFile() { return DriveZPath(ORV_COMPONENT); }

inline std::optional<std::wstring> RegistryString(HKEY root, const std::wstring& path,
                                                  const wchar_t* name = L"") {
  wchar_t text[512];
  DWORD size = sizeof text;
  if (RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) != ERROR_SUCCESS)
    return std::nullopt;
  return text;
}

inline bool KeyExists(HKEY root, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

inline std::wstring ClassKey(const CLSID& class_id) { return L"CLSID\\" + GuidText(class_id); }
inline std::wstring LibraryKey() {
  return L"TypeLib\\" + GuidText(LIBID_ORV_APO2011_ControllerLib);
}

// Runs the platform's registration tool on a component's file and gives its exit status.
inline DWORD RunRegistrationTool(const std::wstring& options,
                                 const std::wstring& file = ComponentFile()) {
  std::wstring line = L"regsvr32.exe /s " + options + L" \"" + file + L'"';
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION process = {};
  EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                             &start, &process));
  EXPECT_EQ(WaitForSingleObject(process.hProcess, 60000), WAIT_OBJECT_0);
  DWORD status = ~0U;
  GetExitCodeProcess(process.hProcess, &status);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return status;
}

// The component's library in this process; its exports by name.
class LoadedComponent {
 public:
  explicit LoadedComponent(const std::wstring& file = ComponentFile())
      : module_(LoadLibraryW(file.c_str())) {
    EXPECT_NE(module_, nullptr) << Utf8FromWide(file);
  }
  ~LoadedComponent() { FreeLibrary(module_); }
  LoadedComponent(const LoadedComponent&) = delete;
  LoadedComponent& operator=(const LoadedComponent&) = delete;

  HMODULE module() const noexcept { return module_; }
  HRESULT CanUnloadNow() const { return Export<ORVDllCanUnloadNow>("DllCanUnloadNow")(); }
  HRESULT Register() const { return Export<ORVDllRegisterServer>("DllRegisterServer")(); }
  HRESULT Install(BOOL install, const wchar_t* command) const {
    return Export<ORVDllInstall>("DllInstall")(install, command);
  }
  HRESULT GetClassObject(const CLSID& class_id, void** factory) const {
    return Export<ORVDllGetClassObject>("DllGetClassObject")(class_id, IID_IClassFactory, factory);
  }

 private:
  template <class Call>
  Call Export(const char* name) const {
    const auto address = reinterpret_cast<void*>(GetProcAddress(module_, name));
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Call>(address);
  }

  HMODULE module_;
};

}  // namespace orv
