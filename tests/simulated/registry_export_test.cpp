#include "simulated/registry/registry_export.h"

#include <gmock/gmock.h>

#include "simulated/refusal_cases.h"

namespace orv {
namespace {

using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n";

RegistryNodePtr Read(std::string_view text) {
  FileError error;
  const RegistryNodePtr root = MakeEmptyRegistry();
  EXPECT_TRUE(ApplyExport(*root, text, error)) << error.Text();
  return root;
}

// What comes after the header and the comment, with plain line ends.
std::string Write(const RegistryNode& root) {
  const std::string text = ExportTree(root, {.crlf = false}, "x");
  return text.substr(std::min(kHeader.size() + 4, text.size()));
}

std::string Rewritten(std::string_view text) { return Write(*Read(text)); }

// A registry with the key K and one value in it.
RegistryNodePtr WithValue(std::uint32_t type, Bytes bytes) {
  RegistryNodePtr root = MakeEmptyRegistry();
  root->Child(kCurrentUserName)->AddChild(L"K").AddValue(L"v", type, std::move(bytes));
  return root;
}

std::string Utf16(std::string_view ascii) {
  std::string text = "\xFF\xFE";
  for (const char character : ascii) (text += character) += '\0';
  return text;
}

TEST(RegistryExport, ReadsKeysValuesAndDeletionsInTheirOrderBitForBit) {
  EXPECT_EQ(Rewritten(kHeader + R"(; comment
[HKEY_CURRENT_USER\Old\Key]
[hklm\software\a B]
"gone"="x"

  [HKLM\Software\\A b]
@="default"  ; why
"gone"=-
"a \"b\" \\"="\\\""
"d"=DWORD:1a2B
"x"=hex:01,2,FF, \
  0a,\ )"
                                "\n\t0B ; end\n"
                                R"("none"=hex(0):
"own"=hex(ffff0012):00
[-hkcu\Old]
[HKEY_USERS\S-1-5\x]y]
[HKCR\.x]
[hkey_Performance_Data]
"v"=dword:1
)"),
            R"([HKEY_LOCAL_MACHINE\software\a B]
@="default"
"a \"b\" \\"="\\\""
"d"=dword:00001a2b
"x"=hex:01,02,ff,0a,0b
"none"=hex(0):
"own"=hex(ffff0012):00

[HKEY_LOCAL_MACHINE\software\Classes\.x]

[HKEY_USERS\S-1-5\x]y]

[hkey_Performance_Data]
"v"=dword:00000001
)");
}

TEST(RegistryExport, ReadsTheSameTextInEveryEncoding) {
  const std::string text = kHeader + "[HKLM\\K]  \r\n\"v\"=\"x\"\r\n";
  std::string unix_text = text;
  std::erase(unix_text, '\r');
  for (const std::string& same : {text, "\xEF\xBB\xBF" + text, Utf16(text), unix_text})
    EXPECT_EQ(Rewritten(same), "[HKEY_LOCAL_MACHINE\\K]\n\"v\"=\"x\"\n");
  const std::string accent = "[HKEY_LOCAL_MACHINE\\K]\n\"\xC3\xA9\"=dword:00000001\n";
  EXPECT_EQ(Rewritten(kHeader + accent), accent);
}

TEST(RegistryExport, WidensTheNarrowTextOfVersionFour) {
  EXPECT_EQ(Rewritten("REGEDIT4\r\n[HKLM\\K]\r\n\"expand\"=hex(2):25,61,25,00\r\n"
                      "\"binary\"=hex:25,00\r\n\"n\xE9\"=dword:1\r\n"),
            "[HKEY_LOCAL_MACHINE\\K]\n\"expand\"=hex(2):25,00,61,00,25,00,00,00\n"
            "\"binary\"=hex:25,00\n\"n\xC3\xA9\"=dword:00000001\n");
}

TEST(RegistryExport, RefusalsNameTheLineAndTheRemedy) {
  const auto refusal = [](const std::string& text) {
    FileError error;
    EXPECT_FALSE(ApplyExport(*MakeEmptyRegistry(), text, error)) << text;
    return error;
  };
  auto cases = RefusalCases("registry_export.txt");
  cases.push_back({3, "neither UTF-8 nor UTF-16", "[HKLM\\K]\r\n\"\xE9\"=dword:1\r\n"});
  for (const auto& [line, reason, lines] : cases) {
    const FileError error = refusal(kHeader + lines);
    EXPECT_EQ(error.line, line) << lines;
    EXPECT_THAT(error.reason, HasSubstr(reason));
  }
  EXPECT_EQ(refusal("[HKLM\\K]\r\n").line, 1);
  for (const char* incomplete : {"\xFF\xFE\x52", ""}) refusal(incomplete);
}

TEST(RegistryExport, WritesTextAsTextOnlyIfItReadsBackExactly) {
  const std::tuple<std::uint32_t, Bytes, const char*> values[] = {
      {kRegSz, RegistryTextBytes(L"a\"\\\u00E9"), "\"a\\\"\\\\\xC3\xA9\""},
      {kRegSz, RegistryTextBytes(L"\xD83D\xDE00"), "\"\xF0\x9F\x98\x80\""},
      {kRegSz, RegistryTextBytes(L""), "\"\""},
      {kRegSz, {}, "hex(1):"},
      {kRegSz, {0x41, 0}, "hex(1):41,00"},
      {kRegSz, {0x41, 0, 0}, "hex(1):41,00,00"},
      {kRegSz, {0, 0, 0, 0}, "hex(1):00,00,00,00"},
      {kRegSz, {0x0A, 0, 0, 0}, "hex(1):0a,00,00,00"},
      {kRegSz, {0x00, 0xD8, 0, 0}, "hex(1):00,d8,00,00"},
      {kRegExpandSz, RegistryTextBytes(L"a"), "hex(2):61,00,00,00"},
      {kRegDword, {1, 2, 3, 4}, "dword:04030201"},
      {kRegDword, {1, 2}, "hex(4):01,02"},
      {0xA0000001, {1}, "hex(a0000001):01"}};
  for (const auto& [type, bytes, text] : values) {
    const std::string written = Write(*WithValue(type, bytes));
    EXPECT_EQ(written, "[HKEY_CURRENT_USER\\K]\n\"v\"=" + std::string(text) + "\n");
    EXPECT_EQ(Rewritten(kHeader + written), written);
  }
}

TEST(RegistryExport, ContinuesLongListsOverLinesOfOrdinaryWidth) {
  const std::string text = ExportTree(*WithValue(kRegBinary, Bytes(1000, 0x5A)), {}, "x");
  EXPECT_TRUE(Read(text)
                  ->Descend(L"HKEY_CURRENT_USER\\K")
                  ->values.at(0)
                  ->Holds(kRegBinary, Bytes(1000, 0x5A)));
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find("\r\n", begin);
    EXPECT_LE(end - begin, 80U);
    begin = end + 2;
  }
}

TEST(RegistryExport, WritesANameWithoutUtf8FormAsUtf16) {
  const std::wstring name = std::wstring(1, wchar_t{0xD800});
  const RegistryNodePtr root = MakeEmptyRegistry();
  root->Child(kCurrentUserName)->AddChild(name);
  const std::string text = ExportTree(*root, {}, "x");
  EXPECT_TRUE(text.starts_with("\xFF\xFE"));
  EXPECT_NE(Read(text)->Child(kCurrentUserName)->Child(name), nullptr);
}

}  // namespace
}  // namespace orv
