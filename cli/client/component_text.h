// A text that the component hands out or takes.
#pragma once

#include <new>
#include <string>
#include <string_view>

#include "orv_apo/com.h"
#include "platform/text.h"

namespace orv::cli {

class Text {
 public:
  Text() = default;
  explicit Text(const std::wstring& text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (text_ == nullptr) throw std::bad_alloc();
  }
  explicit Text(const std::string& utf8) : Text(WideFromUtf8(utf8)) {}
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  BSTR get() const noexcept { return text_; }
  BSTR* Put() noexcept { return &text_; }
  std::wstring_view view() const noexcept {
    return text_ == nullptr ? std::wstring_view() : std::wstring_view(text_, SysStringLen(text_));
  }
  std::string Utf8() const { return Utf8FromWide(view()); }

 private:
  BSTR text_ = nullptr;
};

}  // namespace orv::cli
