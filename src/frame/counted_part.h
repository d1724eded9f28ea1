// A part of another object, seen through an abstract class, with the counted reference that keeps
// the object alive.
#pragma once

#include "platform/com_ptr.h"

namespace orv {

// Part has `IUnknown* unknown()`, an interface of the object it belongs to.
template <class Part>
class CountedPart {
 public:
  CountedPart() noexcept = default;
  explicit CountedPart(Part& part) noexcept : object_(part.unknown()), part_(&part) {}

  Part* operator->() const noexcept { return part_; }
  Part& operator*() const noexcept { return *part_; }
  explicit operator bool() const noexcept { return part_ != nullptr; }

 private:
  ComPtr<IUnknown> object_;
  Part* part_ = nullptr;
};

}  // namespace orv
