// Safe arrays that clients hand over.
#pragma once

#include <span>

#include "orv_apo/com.h"

namespace orv {

// The elements of a one-dimensional array of one type, whatever its bounds, while this object
// lives.
template <class Element>
class SafeArrayView {
 public:
  SafeArrayView(SAFEARRAY* array, VARTYPE type) {
    VARTYPE actual = VT_EMPTY;
    if (array == nullptr || SafeArrayGetDim(array) != 1 ||
        FAILED(SafeArrayGetVartype(array, &actual)) || actual != type ||
        array->cbElements != sizeof(Element))
      return;
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(array, &data))) return;
    array_ = array;
    if (data != nullptr) elements_ = {static_cast<Element*>(data), array->rgsabound[0].cElements};
  }
  ~SafeArrayView() {
    if (array_ != nullptr) SafeArrayUnaccessData(array_);
  }
  SafeArrayView(const SafeArrayView&) = delete;
  SafeArrayView& operator=(const SafeArrayView&) = delete;

  // False for a missing array and for one of another rank or type.
  explicit operator bool() const noexcept { return array_ != nullptr; }
  std::span<const Element> elements() const noexcept { return elements_; }

 private:
  SAFEARRAY* array_ = nullptr;
  std::span<const Element> elements_;
};

}  // namespace orv
