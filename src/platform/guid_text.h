// GUIDs as text: {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orv_apo/com.h"

namespace orv {

// With braces and upper-case letters.
std::wstring GuidText(const GUID& guid);

// Accepts only the braced form without blanks, in letters of either case.
std::optional<GUID> ParseGuid(std::wstring_view text);

}  // namespace orv
