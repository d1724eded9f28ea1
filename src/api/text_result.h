// Texts across the boundary.
#pragma once

#include <limits>
#include <string_view>

#include "orv_apo/com.h"

namespace orv {

// A new string for the caller; the out-parameter is not null and stays as it was when memory runs
// out.
inline HRESULT ReturnText(std::wstring_view text, BSTR* result) noexcept {
  if (text.size() > std::numeric_limits<UINT>::max()) return E_OUTOFMEMORY;
  BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (copy == nullptr) return E_OUTOFMEMORY;
  *result = copy;
  return S_OK;
}

}  // namespace orv
