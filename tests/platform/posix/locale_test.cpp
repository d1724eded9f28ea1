// Narrow text in the UTF-8 locale of this system.
#include "support/locale.h"

#include <gtest/gtest.h>

#include <cwchar>

#include "platform/text.h"
#include "platform/wide_format.h"

namespace orv {
namespace {

// An audio jack's name: a two-byte, a three-byte and a four-byte character.
constexpr char kUtf8[] = "Kopfh\xC3\xB6rer \xE2\x82\xAC \xF0\x9F\x8E\xA7";
constexpr wchar_t kWide[] = L"Kopfh\x00F6rer \x20AC \xD83C\xDFA7";

std::wstring Format(const wchar_t* format, const char* text) {
  wchar_t buffer[64];
  return {buffer, FormatWide(buffer, std::size(buffer), format, {text, text})};
}

TEST(Utf8Locale, ConvertsSurrogatePairsBothWaysAndGivesEmptyTextForTheRest) {
  const Locale locale("C.UTF-8");
  ASSERT_TRUE(locale.known);
  EXPECT_EQ(Widen(kUtf8), kWide);
  EXPECT_EQ(Narrow(kWide), kUtf8);
  for (const char* broken : {"good \xFF", "cut \xE2\x82"}) EXPECT_EQ(Widen(broken), L"") << broken;
  for (const wchar_t* broken : {L"half a pair \xD83C", L"the other half \xDFA7"})
    EXPECT_EQ(Narrow(broken), "");
  EXPECT_EQ(Narrow(std::wstring(1, static_cast<wchar_t>(WCHAR_MAX))), "");
  EXPECT_EQ(Format(L"%3hs|%.1hs", "\xC3\xB6"), L"  \x00F6|\x00F6") << "characters are counted";
  EXPECT_EQ(Format(L"%hs", "\xF0\x9F\x8E\xA7"), L"\xD83C\xDFA7");
  EXPECT_EQ(Format(L"%hs", "a\xFF\xC3\xB6"), L"a\x00FF\x00F6");
}

}  // namespace
}  // namespace orv
