// GUIDs as text: {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orv_apo/com.h"

namespace orv {

// With braces and upper-case letters.
std::wstring GuidText(const GUID& guid);

// Accepts exactly the braced form, letters of either case; nothing else, no blanks.
std::optional<GUID> ParseGuid(std::wstring_view text);

}  // namespace orv
