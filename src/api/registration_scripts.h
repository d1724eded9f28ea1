// The registration scripts, embedded when the component is built (registration/NUMBER.rgs).
#pragma once

#include <optional>
#include <string_view>

namespace orv {

inline constexpr unsigned kModuleScript = 101;

std::optional<std::string_view> RegistrationScript(unsigned number);

}  // namespace orv
