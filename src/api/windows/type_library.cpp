// The type library is registered with the platform's own calls, which write more than one key.
#include "api/process_services.h"
#include "orv_apo/orv_apo.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr USHORT kMajorVersion = 1;
constexpr USHORT kMinorVersion = 4;
constexpr SYSKIND kSystemKind = SYS_WIN64;

using RegisterForUser = HRESULT(STDAPICALLTYPE*)(ITypeLib*, OLECHAR* path, OLECHAR* help_folder);
using UnregisterForUser = HRESULT(STDAPICALLTYPE*)(REFGUID, WORD major, WORD minor, LCID, SYSKIND);

// Not every version of the automation library has the calls for one user.
template <class Function>
Function AutomationCall(const char* name) noexcept {
  const HMODULE automation = GetModuleHandleW(L"oleaut32.dll");
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(automation != nullptr ? GetProcAddress(automation, name) : nullptr));
}

// From the module itself, else from the file of the same name in its folder. `path` comes out as
// the one that was taken.
HRESULT Load(std::wstring& path, ComPtr<ITypeLib>& library) {
  const HRESULT status = LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put());
  if (SUCCEEDED(status)) return status;
  path = path.substr(0, path.find_last_of(L'.')) + L".tlb";
  return LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put());
}

bool IsRegistered() {
  UniqueBstr path;
  return SUCCEEDED(QueryPathOfRegTypeLib(LIBID_ORV_APO2011_ControllerLib, kMajorVersion,
                                         kMinorVersion, LOCALE_NEUTRAL, OutPtr(path)));
}

HRESULT Unregister(bool per_user) {
  const auto for_user =
      per_user ? AutomationCall<UnregisterForUser>("UnRegisterTypeLibForUser") : nullptr;
  return (for_user != nullptr ? for_user : UnRegisterTypeLib)(
      LIBID_ORV_APO2011_ControllerLib, kMajorVersion, kMinorVersion, LOCALE_NEUTRAL, kSystemKind);
}

}  // namespace

HRESULT RegisterTypeLibrary(Machine&, const std::wstring& module_path, bool per_user) {
  std::wstring path = module_path;
  ComPtr<ITypeLib> library;
  const HRESULT status = Load(path, library);
  if (FAILED(status)) return status;
  std::wstring folder = RemoveLastPathElement(path);
  const auto for_user =
      per_user ? AutomationCall<RegisterForUser>("RegisterTypeLibForUser") : nullptr;
  return (for_user != nullptr ? for_user : RegisterTypeLib)(library.get(), path.data(),
                                                            folder.data());
}

// The platform's call fails for a library that is not registered; here that is not a failure.
HRESULT UnregisterTypeLibrary(Machine&, bool per_user) {
  const HRESULT status = Unregister(per_user);
  return FAILED(status) && !IsRegistered() ? S_OK : status;
}

}  // namespace orv
