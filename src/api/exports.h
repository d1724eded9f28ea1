// The component's exports.
#pragma once

#include "orv_apo/com.h"

extern "C" {
HRESULT STDAPICALLTYPE DllCanUnloadNow();
HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID class_id, REFIID iid, void** object);
HRESULT STDAPICALLTYPE DllRegisterServer();
HRESULT STDAPICALLTYPE DllUnregisterServer();
HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR command_line);
}
