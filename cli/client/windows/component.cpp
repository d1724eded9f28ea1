// Through the COM runtime: the component is the one that is registered. Only registration itself
// loads the library, the one beside this program.
#include "cli/client/component.h"

#include "cli/client/host.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"

namespace orv::cli {
namespace {

// An export of the library, called while it is loaded.
template <class Function, class... Arguments>
HRESULT CallExport(const std::filesystem::path& file, const char* name, Arguments... arguments) {
  DynamicLibrary library;
  if (!library.Load(file)) {
    throw Failure(kRefused,
                  "the component cannot be loaded; looked for it at\n  " + PathText(file));
  }
  const auto function = reinterpret_cast<Function>(library.Find(name));
  return function != nullptr ? function(arguments...) : E_NOTIMPL;
}

}  // namespace

Component::Component() : path_(ProgramFolder() / "orv_apo_controller.dll") {}

// The runtime unloads it.
Component::~Component() = default;

HRESULT Component::CreateSystem(IORVAPOSystem** system) const {
  const HRESULT status = CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER,
                                          IID_IORVAPOSystem, reinterpret_cast<void**>(system));
  if (status == REGDB_E_CLASSNOTREG) {
    throw Failure(kRefused,
                  "the component is not registered on this machine.\nRegister it with \"orvctl "
                  "register\", as an administrator.");
  }
  return status;
}

HRESULT Component::Register(bool for_user) const {
  if (for_user) return CallExport<ORVDllInstall>(path_, "DllInstall", BOOL{TRUE}, L"user");
  return CallExport<ORVDllRegisterServer>(path_, "DllRegisterServer");
}

HRESULT Component::Unregister(bool for_user) const {
  if (for_user) return CallExport<ORVDllInstall>(path_, "DllInstall", BOOL{FALSE}, L"user");
  return CallExport<ORVDllUnregisterServer>(path_, "DllUnregisterServer");
}

}  // namespace orv::cli
