// An owned system handle.
#pragma once

#include <windows.h>

#include <utility>

namespace orv {

class Handle {
 public:
  Handle() = default;
  // Takes over what a system call returned, a failure included.
  explicit Handle(HANDLE handle) noexcept
      : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Handle() {
    if (handle_ != nullptr) ::CloseHandle(handle_);
  }

  explicit operator bool() const noexcept { return handle_ != nullptr; }
  HANDLE get() const noexcept { return handle_; }
  HANDLE Release() noexcept { return std::exchange(handle_, nullptr); }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace orv
