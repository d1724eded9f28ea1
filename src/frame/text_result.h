// Texts across the boundary.
#pragma once

#include <limits>
#include <memory>
#include <string_view>

#include "orv_apo/com.h"

namespace orv {

struct TextFree {
  void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};
// A text that an object handed out; freed with it.
using OwnedText = std::unique_ptr<OLECHAR, TextFree>;

// All of a text, which may be null.
inline std::wstring_view ViewOf(BSTR text) noexcept {
  return text == nullptr ? std::wstring_view() : std::wstring_view(text, SysStringLen(text));
}

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
