// Text between its narrow, wide and UTF-8 forms, and the letter-case rules of names.
//
// Wide text holds UTF-16 code units, one per element, on every build.
#pragma once

#include <string>
#include <string_view>

namespace orv {

// Whether LC_CTYPE is "C" (or "POSIX"), where bytes and characters map one to one.
bool InDefaultLocale() noexcept;

// Multibyte conversion in the current C locale, as the C runtime converts strings: the text ends at
// its first NUL, if it has one. In the default locale bytes and the characters U+0001 to U+00FF map
// one to one and no other character converts. Text that does not convert gives empty text.
std::wstring Widen(std::string_view narrow);
std::string Narrow(std::wstring_view wide);

// UTF-8 in every locale. U+FFFD replaces invalid input.
std::wstring WideFromUtf8(std::string_view utf8);
std::string Utf8FromWide(std::wstring_view wide);

// Letters A to Z equal a to z; no other character is folded. The order is that of the folded code
// units (or bytes).
wchar_t FoldAscii(wchar_t unit) noexcept;
bool EqualsIgnoringCase(std::wstring_view a, std::wstring_view b) noexcept;
bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept;
// Less than, equal to or greater than 0. Letters are ordered as lower-case ones.
int CompareIgnoringCase(std::string_view a, std::string_view b) noexcept;
std::wstring ToUpperAscii(std::wstring_view text);

// Removes the last path element and the backslash before it ("C:\Tools\x" and "C:\Tools\" give
// "C:\Tools"); a root keeps its backslash ("C:\x" gives "C:\"). A lone element gives empty text.
std::wstring RemoveLastPathElement(std::wstring_view path);

}  // namespace orv
