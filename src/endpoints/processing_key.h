// Where the processing object's values of an endpoint are, for readers that do not load the whole
// endpoint: nothing is written.
#pragma once

#include <string>

#include "platform/registry.h"

namespace orv {

// A text value of a key below HKEY_LOCAL_MACHINE; empty when there is none.
std::wstring ReadKeyText(Registry& registry, const std::wstring& path, const wchar_t* name);

// The key of a render endpoint (GUID text in upper case, with braces): from the endpoint's own
// value, else its fallback key, else in the usual place.
std::wstring ProcessingKeyPath(Registry& registry, const std::wstring& guid_text);

}  // namespace orv
