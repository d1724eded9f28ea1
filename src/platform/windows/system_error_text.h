// System error codes as text for people.
#pragma once

#include <string>
#include <system_error>

namespace orv {

// In the words that the other builds use, as far as the error has a portable meaning.
inline std::string SystemErrorText(unsigned long error) {
  const std::error_code code(static_cast<int>(error), std::system_category());
  const std::error_condition condition = code.default_error_condition();
  return condition.category() == std::generic_category() ? condition.message() : code.message();
}

}  // namespace orv
