// Texts that objects hand out in task memory.
#pragma once

#include <memory>

#include "orv_apo/com.h"

namespace orv {

struct TaskMemoryFree {
  void operator()(void* memory) const noexcept { CoTaskMemFree(memory); }
};
using TaskText = std::unique_ptr<wchar_t, TaskMemoryFree>;

// Runs `get`, which fills an LPWSTR, and takes the text over; a missing text is a failure.
template <class Get>
HRESULT TakeTaskText(TaskText& text, Get&& get) {
  LPWSTR raw = nullptr;
  const HRESULT status = get(&raw);
  text.reset(raw);
  return SUCCEEDED(status) && raw == nullptr ? E_FAIL : status;
}

}  // namespace orv
