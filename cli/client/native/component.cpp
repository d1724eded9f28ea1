// Without a COM runtime: the component is a shared library near this program, used through its
// exports.
#include "cli/client/component.h"

#include <cstdlib>
#include <vector>

#include "cli/client/host.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

constexpr char kLibraryName[] = "liborv_apo_controller.so";

std::vector<std::filesystem::path> Candidates() {
  if (const char* named = std::getenv("ORV_COMPONENT"); named != nullptr && *named != 0)
    return {named};
  const std::filesystem::path folder = ProgramFolder();
  return {folder / kLibraryName, folder / "../lib" / kLibraryName};
}

template <class Function>
Function Export(const DynamicLibrary& library, const char* name) {
  return reinterpret_cast<Function>(library.Find(name));
}

}  // namespace

Component::Component() {
  std::string places;
  for (const std::filesystem::path& candidate : Candidates()) {
    std::error_code ignored;
    if (std::filesystem::exists(candidate, ignored) && library_.Load(candidate.string())) {
      path_ = std::filesystem::weakly_canonical(candidate, ignored);
      return;
    }
    places += "\n  " + candidate.lexically_normal().string();
  }
  throw Failure(kRefused, "the component cannot be loaded; looked for it at" + places +
                              "\nName its file in the environment variable ORV_COMPONENT.");
}

// The component lets go of what its objects left behind when it is asked, before it is unloaded.
Component::~Component() {
  const auto can_unload = Export<ORVDllCanUnloadNow>(library_, "DllCanUnloadNow");
  if (can_unload != nullptr) can_unload();
}

HRESULT Component::CreateSystem(IORVAPOSystem** system) const {
  const auto get_class = Export<ORVDllGetClassObject>(library_, "DllGetClassObject");
  if (get_class == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
  ComPtr<IClassFactory> factory;
  const HRESULT status = get_class(CLSID_ORVAPOSystem, IID_IClassFactory, factory.PutVoid());
  if (FAILED(status)) return status;
  return factory->CreateInstance(nullptr, IID_IORVAPOSystem, reinterpret_cast<void**>(system));
}

HRESULT Component::Register(bool for_user) const {
  if (for_user) {
    const auto install = Export<ORVDllInstall>(library_, "DllInstall");
    return install != nullptr ? install(TRUE, L"user") : E_NOTIMPL;
  }
  const auto register_server = Export<ORVDllRegisterServer>(library_, "DllRegisterServer");
  return register_server != nullptr ? register_server() : E_NOTIMPL;
}

HRESULT Component::Unregister(bool for_user) const {
  if (for_user) {
    const auto install = Export<ORVDllInstall>(library_, "DllInstall");
    return install != nullptr ? install(FALSE, L"user") : E_NOTIMPL;
  }
  const auto unregister_server = Export<ORVDllUnregisterServer>(library_, "DllUnregisterServer");
  return unregister_server != nullptr ? unregister_server() : E_NOTIMPL;
}

}  // namespace orv::cli
