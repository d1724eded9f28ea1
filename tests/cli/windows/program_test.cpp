// What is the Windows program's own: its text on a console, its diagnostic lines, its resources.
#include <gtest/gtest.h>
#include <windows.h>

#include <ostream>

#include "cli/client/windows/console.h"

namespace orv::cli {
namespace {

TEST(Utf8Buffer, CharactersArriveWholeHoweverTheirBytesCome) {
  const std::string text = "ö中😀";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    std::wstring arrived;
    {
      Utf8Buffer buffer([&](std::wstring_view piece) {
        arrived += piece;
        return true;
      });
      std::ostream stream(&buffer);
      stream << text.substr(0, cut) << std::flush << text.substr(cut);
    }
    EXPECT_EQ(arrived, L"\u00f6\u4e2d\U0001f600") << cut;
  }
}

TEST(Utf8Buffer, BrokenBytesArriveReplacedAndAFailureStops) {
  std::wstring arrived;
  bool works = true;
  Utf8Buffer buffer([&](std::wstring_view piece) {
    arrived += piece;
    return works;
  });
  std::ostream stream(&buffer);
  stream << "a\x80\x80\x80\x80" << std::flush << "\xe4\xb8" << std::flush;
  EXPECT_EQ(arrived, L"a\ufffd\ufffd\ufffd\ufffd");
  EXPECT_TRUE(stream.good());
  works = false;
  stream << "b" << std::flush;
  EXPECT_FALSE(stream.good());
}

TEST(DiagnosticLine, LinesOfOtherModulesAreNotDiagnosticLines) {
  EXPECT_TRUE(
      IsDiagnosticLine(L"configuration_file.cpp(57) | ORVAPOConfigurationFile::Load | x\n"));
  for (const wchar_t* other : {L"", L"loading (3) | x", L"driver: 5", L"(5) | x", L"a.cpp() | x",
                               L"a.cpp(12): error", L"a.cpp(1", L"a.cpp"})
    EXPECT_FALSE(IsDiagnosticLine(other)) << other;
}

TEST(Orvctl, ManifestAsksForLongPathsAndLeavesTheCodePageAlone) {
  const HMODULE program = LoadLibraryExA(ORV_ORVCTL, nullptr,
                                         LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  ASSERT_NE(program, nullptr);
  const HRSRC found = FindResourceW(program, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24));
  ASSERT_NE(found, nullptr);
  const std::string text(static_cast<const char*>(LockResource(LoadResource(program, found))),
                         SizeofResource(program, found));
  EXPECT_NE(text.find("longPathAware>true<"), std::string::npos) << text;
  EXPECT_EQ(text.find("activeCodePage"), std::string::npos);
  FreeLibrary(program);
}

}  // namespace
}  // namespace orv::cli
