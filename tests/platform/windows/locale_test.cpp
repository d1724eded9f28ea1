// Narrow text in the code pages of this system.
#include "support/locale.h"

#include <gtest/gtest.h>

#include "platform/text.h"
#include "platform/wide_format.h"

namespace orv {
namespace {

std::wstring Format(const wchar_t* format, const char* text) {
  wchar_t buffer[64];
  return {buffer, FormatWide(buffer, std::size(buffer), format, {text, text})};
}

TEST(CodePage, Western) {
  const Locale locale(".1252");
  ASSERT_TRUE(locale.known);
  EXPECT_EQ(Widen("H\xF6rer \x80"), L"H\x00F6rer \x20AC");
  EXPECT_EQ(Narrow(L"H\x00F6rer \x20AC"), "H\xF6rer \x80");
  EXPECT_EQ(Narrow(L"\x4E2D"), "");
  EXPECT_EQ(Narrow(L"\xD83C\xDFA7"), "");
}

TEST(CodePage, WithCharactersOfTwoBytes) {
  const Locale locale(".932");
  ASSERT_TRUE(locale.known);
  EXPECT_EQ(Widen("\x89\xB9 dB"), L"\x97F3 dB");
  EXPECT_EQ(Narrow(L"\x97F3 dB"), "\x89\xB9 dB");
  EXPECT_EQ(Widen("cut \x89"), L"");
  EXPECT_EQ(Format(L"%3hs|%.1hs", "\x89\xB9"), L"  \x97F3|\x97F3");
}

}  // namespace
}  // namespace orv
