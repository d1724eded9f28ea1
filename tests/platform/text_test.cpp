#include "platform/text.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/guid_text.h"
#include "platform/registry.h"
#include "support/locale.h"

namespace orv {
namespace {

std::string EveryByte() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  return bytes;
}

// An audio jack's name as different forms hold it: a two-byte, a three-byte and a four-byte
// character.
constexpr char kUtf8[] = "Kopfh\xC3\xB6rer \xE2\x82\xAC \xF0\x9F\x8E\xA7";
constexpr wchar_t kWide[] = L"Kopfh\x00F6rer \x20AC \xD83C\xDFA7";

TEST(MultibyteText, DefaultLocaleMapsEveryByteOneToOne) {
  const std::wstring wide = Widen(EveryByte());
  ASSERT_EQ(wide.size(), 255U);
  for (std::size_t i = 0; i < wide.size(); ++i) EXPECT_EQ(wide[i], static_cast<wchar_t>(i + 1));
  EXPECT_EQ(Narrow(wide), EveryByte());
  EXPECT_EQ(Narrow(kWide), "");
}

TEST(MultibyteText, EndsAtTheFirstNul) {
  for (const char* name : {"C", "C.UTF-8"}) {
    const Locale locale(name);
    EXPECT_EQ(Widen(std::string_view("a\0b", 3)), L"a");
    EXPECT_EQ(Narrow(std::wstring_view(L"a\0\x20AC", 3)), "a");
  }
}

TEST(Utf8Text, ConvertsWhateverTheLocale) {
  EXPECT_EQ(WideFromUtf8(kUtf8), kWide);
  EXPECT_EQ(Utf8FromWide(kWide), kUtf8);
  const std::wstring with_nul(L"a\0b", 3);
  EXPECT_EQ(WideFromUtf8(Utf8FromWide(with_nul)), with_nul);
}

TEST(Utf8Text, BrokenInputIsReplacedAndItsNeighboursKept) {
  const std::pair<std::string, std::wstring> cases[] = {
      {"a\x80z", L"a\xFFFDz"},                                // trail byte alone
      {"a\xC0\xAFz", L"a\xFFFD\xFFFDz"},                      // overlong slash
      {"a\xE0\x80\xAFz", L"a\xFFFD\xFFFD\xFFFDz"},            // overlong, three bytes
      {"a\xED\xA0\x80z", L"a\xFFFD\xFFFD\xFFFDz"},            // surrogate
      {"a\xF4\x90\x80\x80z", L"a\xFFFD\xFFFD\xFFFD\xFFFDz"},  // past U+10FFFF
      {"a\xF0\x9F\x8Ez", L"a\xFFFDz"},                        // one byte short
      {"a\xF0\x9F\x8E", L"a\xFFFD"},                          // cut off
      {"a\xFFz", L"a\xFFFDz"},
  };
  for (const auto& [utf8, wide] : cases) EXPECT_EQ(WideFromUtf8(utf8), wide);
  EXPECT_EQ(Utf8FromWide(L"a\xD83Cz\xDFA7"), "a\xEF\xBF\xBDz\xEF\xBF\xBD");
}

TEST(NameComparison, FoldsLettersAToZAndNothingElse) {
  EXPECT_TRUE(EqualsIgnoringCase("VQ3D-Process Enable", "vq3d-pROCESS eNABLE"));
  EXPECT_TRUE(EqualsIgnoringCase(L"AZaz", L"azAZ"));
  EXPECT_FALSE(EqualsIgnoringCase("VQ3D-Process Enable", "VQ3D-Process Enabled"));
  EXPECT_FALSE(EqualsIgnoringCase(L"\x00C4", L"\x00E4"));
  for (const char* pair : {"@`", "[{", "\\|", "]}", "^~"}) {
    EXPECT_FALSE(EqualsIgnoringCase(std::string_view(pair, 1), std::string_view(pair + 1, 1)));
    EXPECT_NE(CompareIgnoringCase(std::string_view(pair, 1), std::string_view(pair + 1, 1)), 0);
  }
}

TEST(NameComparison, OrdersByFoldedUnsignedUnits) {
  EXPECT_EQ(CompareIgnoringCase("Gain", "gAIN"), 0);
  EXPECT_LT(CompareIgnoringCase("Gain", "gain2"), 0);
  EXPECT_LT(CompareIgnoringCase("_", "A"), 0);  // letters take their lower-case place
  EXPECT_GT(CompareIgnoringCase("\xE4", "z"), 0);
  EXPECT_GT(CompareIgnoringCase("b", "A"), 0);
}

TEST(Paths, LosingTheirLastElementKeepTheirRoot) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {{L"C:\\Tools\\x", L"C:\\Tools"},
                                                             {L"C:\\Tools\\", L"C:\\Tools"},
                                                             {L"C:\\x", L"C:\\"},
                                                             {L"C:\\", L"C:\\"},
                                                             {L"C:x", L"C:"},
                                                             {L"\\x", L"\\"},
                                                             {L"x", L""},
                                                             {L"", L""}};
  for (const auto& [path, rest] : cases) EXPECT_EQ(RemoveLastPathElement(path), rest);
}

TEST(RegistryTexts, GoThereAndBackAsLittleEndianUnits) {
  using Bytes = std::vector<std::uint8_t>;
  const auto text = [](const Bytes& bytes) { return RegistryText(bytes.data(), bytes.size()); };
  EXPECT_EQ(RegistryTextBytes(L"A\xD83C"), (Bytes{0x41, 0, 0x3C, 0xD8, 0, 0}));
  EXPECT_EQ(text(RegistryTextBytes(L"ORV \x20AC")), L"ORV \x20AC");
  EXPECT_EQ(text({0x41, 0, 0, 0, 0x42, 0}), std::nullopt) << "no terminator at the end";
  EXPECT_EQ(text({0x00}), std::nullopt);
}

TEST(GuidText, GoesThereAndBackAndRefusesEveryOtherForm) {
  const auto parsed = ParseGuid(L"{62ab5d82-fdc1-4DC3-a9dd-070d1d495d97}");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->Data3, 0x4DC3);
  EXPECT_EQ(GuidText(*parsed), L"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D97}");
  for (const wchar_t* text :
       {L"", L"62AB5D82-FDC1-4DC3-A9DD-070D1D495D97", L"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D9}",
        L"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D977}", L"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D9G}",
        L"(62AB5D82-FDC1-4DC3-A9DD-070D1D495D97}", L"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D97)",
        L"{62AB5D82FDC1--4DC3-A9DD-070D1D495D97}"})
    EXPECT_FALSE(ParseGuid(text)) << Utf8FromWide(text);
}

}  // namespace
}  // namespace orv
