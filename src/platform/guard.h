// No exception leaves an object's operation or an export.
#pragma once

#include <new>
#include <utility>

#include "orv_apo/com.h"

namespace orv {

// Runs the body of an operation and gives its status; an exception becomes one.
template <class Body>
HRESULT Guard(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

}  // namespace orv
