#include <string_view>

#include "api/component.h"
#include "intel_dsp/intel_dsp.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace {

using orv::ComponentModule;
using orv::Guard;

// Five characters are compared, so the terminator counts: a longer word is another word.
bool IsUserCommand(LPCWSTR command_line) {
  using namespace std::string_view_literals;
  constexpr auto kUser = L"user\0"sv;
  if (command_line == nullptr) return false;
  std::size_t length = 0;
  while (length < kUser.size() && command_line[length] != L'\0') ++length;
  if (length < kUser.size()) ++length;
  return orv::EqualsIgnoringCase(std::wstring_view(command_line, length), kUser);
}

}  // namespace

HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return Guard([] {
    return ComponentModule().ReadyToUnload(orv::ReleaseIntelDriverClients) ? S_OK : S_FALSE;
  });
}

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID class_id, REFIID iid, void** object) {
  return Guard([&]() -> HRESULT {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return ComponentModule().GetClassObject(class_id, iid, object);
  });
}

HRESULT STDAPICALLTYPE DllRegisterServer() {
  return Guard([] { return orv::RegisterComponent(ComponentModule()); });
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
  return Guard([] { return orv::UnregisterComponent(ComponentModule()); });
}

HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR command_line) {
  return Guard([&]() -> HRESULT {
    if (IsUserCommand(command_line)) ComponentModule().SetPerUser(true);
    if (install == 0) return DllUnregisterServer();
    const HRESULT status = DllRegisterServer();
    if (FAILED(status)) DllUnregisterServer();
    return status;
  });
}
