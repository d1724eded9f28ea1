// Names and texts of configuration files between the form that the component gives them and UTF-8.
//
// The files hold UTF-8. The component widens it in the C locale, which orvctl leaves at its default
// as most clients do: each byte becomes one unit. Registry value names and image entries have this
// form, so only what is shown is converted.
#pragma once

#include <string>
#include <string_view>

namespace orv::cli {

// For display. A name whose units are not the bytes of valid UTF-8 is taken as ordinary wide text.
std::string Utf8FromName(std::wstring_view name);

// The component's form of a name as displayed.
std::wstring NameFromUtf8(std::string_view utf8);

}  // namespace orv::cli
