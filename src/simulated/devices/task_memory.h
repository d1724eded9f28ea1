// Copies in task memory, as objects hand them out and callers free them.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "orv_apo/com.h"

namespace orv {

// Returns null if there is no memory; never null for a count of 0.
template <class Element>
Element* TaskCopy(const Element* source, std::size_t count) noexcept {
  auto* copy =
      static_cast<Element*>(CoTaskMemAlloc(std::max<std::size_t>(count, 1) * sizeof(Element)));
  if (copy != nullptr && count != 0) std::memcpy(copy, source, count * sizeof(Element));
  return copy;
}

inline HRESULT CopyTaskText(const std::wstring& text, LPWSTR* copy) noexcept {
  *copy = TaskCopy(text.c_str(), text.size() + 1);
  return *copy == nullptr ? E_OUTOFMEMORY : S_OK;
}

}  // namespace orv
