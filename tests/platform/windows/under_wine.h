// Wine lacks some features of the platform; all others must work there too.
#pragma once

#include <windows.h>

namespace orv {

inline bool IsUnderWine() {
  return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace orv
