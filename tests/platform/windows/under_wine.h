// What Wine does not offer is told apart by this; everything else must work there too.
#pragma once

#include <windows.h>

namespace orv {

inline bool IsUnderWine() {
  return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace orv
