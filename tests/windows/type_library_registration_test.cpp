// A type library for one user is registered with the calls made for that: the plain ones need
// rights, which does not show under Wine.
#include <string>

#include "api/process_services.h"
#include "component_file.h"
#include "platform/windows/substituted_call.h"
#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

constexpr HRESULT kRegistered = 0x00040001;
constexpr HRESULT kUnregistered = 0x00040002;

HRESULT STDAPICALLTYPE RegisterForUser(ITypeLib*, OLECHAR*, OLECHAR*) { return kRegistered; }
HRESULT STDAPICALLTYPE UnregisterForUser(REFGUID, WORD, WORD, LCID, SYSKIND) {
  return kUnregistered;
}

ORV_SYSTEM_CALL(find_call, GetProcAddress);

TEST(TypeLibraryRegistration, ForOneUserUsesItsOwnCalls) {
  const SubstitutedCall automation(find_call, [](HMODULE, LPCSTR name) -> FARPROC {
    if (std::string(name) == "RegisterTypeLibForUser")
      return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&RegisterForUser));
    if (std::string(name) == "UnRegisterTypeLibForUser")
      return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&UnregisterForUser));
    return nullptr;
  });
  WindowsMachine machine;
  EXPECT_EQ(RegisterTypeLibrary(machine, ComponentFile(), true), kRegistered);
  EXPECT_EQ(UnregisterTypeLibrary(machine, true), kUnregistered);
}

}  // namespace
}  // namespace orv
