// The registration scripts, made from registration/ and embedded when the component is built.
#pragma once

#include <optional>
#include <string_view>

namespace orv {

inline constexpr unsigned kModuleScript = 101;

std::optional<std::string_view> RegistrationScript(unsigned number);

}  // namespace orv
