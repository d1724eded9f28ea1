// System error codes as text for people.
#pragma once

#include <windows.h>

#include <string>
#include <system_error>

#include "platform/text.h"

namespace orv {

// In the words that the other builds use, as far as the error has a portable meaning, else in the
// system's own, which are in the user's language. UTF-8.
inline std::string SystemErrorText(unsigned long error) {
  const std::error_code code(static_cast<int>(error), std::system_category());
  const std::error_condition condition = code.default_error_condition();
  if (condition.category() == std::generic_category()) return condition.message();
  wchar_t text[512];
  const DWORD size = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                      nullptr, error, 0, text, std::size(text), nullptr);
  const std::wstring_view message(text, size);
  const std::size_t last = message.find_last_not_of(L" .\r\n");
  if (last == std::wstring_view::npos) return "System error " + std::to_string(error);
  return Utf8FromWide(message.substr(0, last + 1));
}

}  // namespace orv
