// Helpers for calls of the system: owned handles, the text of errors, no message boxes.
#pragma once

#include <fmt/format.h>
#include <windows.h>

#include <string>
#include <system_error>
#include <utility>

#include "platform/text.h"

namespace orv {

// An owned system handle.
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

 private:
  HANDLE handle_ = nullptr;
};

// While this lives, calls of this thread that access a drive without a disk, or load a file that is
// not a module, fail instead of waiting until a user closes a message box. Other settings of the
// host stay in force.
class NoErrorBoxes {
 public:
  NoErrorBoxes() noexcept {
    ::SetThreadErrorMode(::GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &before_);
  }
  ~NoErrorBoxes() { ::SetThreadErrorMode(before_, nullptr); }
  NoErrorBoxes(const NoErrorBoxes&) = delete;
  NoErrorBoxes& operator=(const NoErrorBoxes&) = delete;

 private:
  DWORD before_ = 0;
};

// A system error code as text in UTF-8: in the words of the native build if the error has a
// portable meaning, else in the system's words, which are in the user's language.
inline std::string SystemErrorText(unsigned long error) {
  const std::error_code code(static_cast<int>(error), std::system_category());
  const std::error_condition condition = code.default_error_condition();
  if (condition.category() == std::generic_category()) return condition.message();
  wchar_t text[512];
  const DWORD size = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                      nullptr, error, 0, text, std::size(text), nullptr);
  const std::wstring_view message(text, size);
  const std::size_t last = message.find_last_not_of(L" .\r\n");
  if (last == std::wstring_view::npos) return fmt::format("System error {}", error);
  return Utf8FromWide(message.substr(0, last + 1));
}

}  // namespace orv
