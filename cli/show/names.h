// Names and texts of configuration files between the form that the component gives them and UTF-8.
//
// The files hold UTF-8. The component widens it in the C locale, which orvctl leaves at its default
// as most clients do: each byte becomes one unit. Registry value names and image entries have this
// form, so only what is shown is converted. A file may hold bytes that are not UTF-8, as those of
// Latin-1: such a name is shown unit by unit.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

// For display. A name whose units are not the bytes of valid UTF-8 is taken as ordinary wide text.
std::string Utf8FromName(std::wstring_view name);
std::string Utf8FromName(const std::string& narrow);  // as the files hold it
// A mode's name without the word that all of them begin with: "Movie/Internal".
std::string ModeLabel(const std::string& mode);

// The component's form of a displayed name that is stored as UTF-8.
std::wstring NameFromUtf8(std::string_view utf8);
// All names of the component that are displayed so, one or two: that of NameFromUtf8 comes first.
std::vector<std::wstring> NamesFromUtf8(std::string_view utf8);

}  // namespace orv::cli
