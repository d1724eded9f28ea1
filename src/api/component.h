// The component of this process: its exports, its one module, its classes and their
// registration.
#pragma once

#include <span>

#include "frame/module.h"

extern "C" {
HRESULT STDAPICALLTYPE DllCanUnloadNow();
HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID class_id, REFIID iid, void** object);
HRESULT STDAPICALLTYPE DllRegisterServer();
HRESULT STDAPICALLTYPE DllUnregisterServer();
HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR command_line);
}

namespace orv {

// Every registered class, in registration order.
std::span<const ClassRow> ClassTable();

// Made at the first use.
Module& ComponentModule();

// The registration of its classes and its type library. Both stop at the first failure and return
// it; what was done so far stays.
HRESULT RegisterComponent(Module& module);
HRESULT UnregisterComponent(Module& module);

}  // namespace orv
