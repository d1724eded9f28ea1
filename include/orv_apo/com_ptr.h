// A counted reference to a COM object. A convenience: any smart pointer of the platform does as
// well.
#pragma once

#include <utility>

#include "orv_apo/com.h"

namespace orv_apo {

template <class Interface>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  ComPtr(std::nullptr_t) noexcept {}
  // Adds a reference.
  explicit ComPtr(Interface* object) noexcept : object_(object) { AddReference(); }
  ComPtr(const ComPtr& other) noexcept : object_(other.object_) { AddReference(); }
  ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ~ComPtr() { Reset(); }
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  // Takes over a reference that the caller already holds.
  static ComPtr Adopt(Interface* object) noexcept {
    ComPtr result;
    result.object_ = object;
    return result;
  }

  Interface* get() const noexcept { return object_; }
  Interface* operator->() const noexcept { return object_; }
  Interface& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  // Drops the reference and gives the address for an operation that fills an out-parameter.
  Interface** Put() noexcept {
    Reset();
    return &object_;
  }
  void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }
  // Hands the reference to the caller.
  Interface* Detach() noexcept { return std::exchange(object_, nullptr); }
  void Reset() noexcept {
    if (Interface* old = std::exchange(object_, nullptr)) old->Release();
  }
  // Another interface of the same object; empty if it has none.
  template <class Other>
  ComPtr<Other> As() const noexcept {
    ComPtr<Other> result;
    if (object_ != nullptr) object_->QueryInterface(IID_PPV_ARGS(result.Put()));
    return result;
  }

 private:
  void AddReference() const noexcept {
    if (object_ != nullptr) object_->AddRef();
  }
  Interface* object_ = nullptr;
};

}  // namespace orv_apo
