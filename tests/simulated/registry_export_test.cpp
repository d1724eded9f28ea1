#include "simulated/registry/registry_export.h"

#include <gmock/gmock.h>

#include "platform/registry.h"
#include "simulated/refusal_cases.h"

namespace orv {
namespace {

using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n";

RegistryExport Decode(std::string_view text) {
  FileError error;
  auto content = DecodeRegistryExport(text, error);
  EXPECT_TRUE(content) << error.Text();
  return content.value_or(RegistryExport());
}

// The values of the only key of an export that holds these lines.
std::vector<ExportedValue> DecodeValues(const std::string& lines,
                                        const std::string& header = kHeader) {
  const RegistryExport content = Decode(header + "[HKLM\\K]\r\n" + lines);
  EXPECT_EQ(content.keys.size(), 1U);
  return content.keys.empty() ? std::vector<ExportedValue>() : content.keys[0].values;
}

std::string Utf16(std::string_view ascii) {
  std::string text = "\xFF\xFE";
  for (const char character : ascii) (text += character) += '\0';
  return text;
}

TEST(RegistryExport, KeysValuesAndDeletionsAreReadInTheirOrder) {
  const RegistryExport content = Decode(kHeader + R"(; comment

  [HKLM\Software\\A b]
@="default"  ; why
"gone"=-
[-hkcu\Old]
[HKEY_USERS\S-1-5\x]y]
[hkey_Performance_Data]
)");
  EXPECT_THAT(content.keys,
              testing::ElementsAre(ExportedKey{L"HKEY_LOCAL_MACHINE\\Software\\A b",
                                               false,
                                               {{L"", false, kRegSz, RegistryTextBytes(L"default")},
                                                {L"gone", true, kRegNone, {}}}},
                                   ExportedKey{L"HKEY_CURRENT_USER\\Old", true, {}},
                                   ExportedKey{L"HKEY_USERS\\S-1-5\\x]y", false, {}},
                                   ExportedKey{L"hkey_Performance_Data", false, {}}));
}

TEST(RegistryExport, ValuesOfEveryKindAreReadBitForBit) {
  const auto values = DecodeValues(
      "\"a \\\"b\\\" \\\\\"=\"\\\\\\\"\"\r\n"
      "\"d\"=DWORD:1a2B\r\n"
      "\"x\"=hex:01,2,FF, \\\r\n"
      "  0a,\\ \r\n"
      "\t0B ; end\r\n"
      "\"none\"=hex(0):\r\n"
      "\"own\"=hex(ffff0012):00\r\n");
  EXPECT_THAT(values, testing::ElementsAre(
                          ExportedValue{L"a \"b\" \\", false, kRegSz, RegistryTextBytes(L"\\\"")},
                          ExportedValue{L"d", false, kRegDword, {0x2B, 0x1A, 0, 0}},
                          ExportedValue{L"x", false, kRegBinary, {1, 2, 0xFF, 0x0A, 0x0B}},
                          ExportedValue{L"none", false, kRegNone, {}},
                          ExportedValue{L"own", false, 0xFFFF0012, {0}}));
}

TEST(RegistryExport, EveryEncodingGivesTheSameText) {
  const std::string text = kHeader + "[HKLM\\K]  \r\n\"v\"=\"x\"\r\n";
  const auto plain = Decode(text);
  EXPECT_EQ(Decode("\xEF\xBB\xBF" + text).keys, plain.keys);
  EXPECT_EQ(Decode(Utf16(text)).keys, plain.keys);
  std::string unix_text = text;
  std::erase(unix_text, '\r');
  EXPECT_EQ(Decode(unix_text).keys, plain.keys);
  EXPECT_EQ(DecodeValues("\"\xC3\xA9\"=dword:1\r\n")[0].name, L"\u00E9");
}

TEST(RegistryExport, VersionFourListsNarrowTextWhichBecomesWide) {
  const auto values =
      DecodeValues("\"expand\"=hex(2):25,61,25,00\r\n\"binary\"=hex:25,00\r\n\"n\xE9\"=dword:1\r\n",
                   "REGEDIT4\r\n");
  EXPECT_EQ(values[0].bytes, RegistryTextBytes(L"%a%"));
  EXPECT_EQ(values[1].bytes, (Bytes{0x25, 0}));
  EXPECT_EQ(values[2].name, L"n\u00E9");
}

TEST(RegistryExport, RefusalsNameTheLineAndWhatToDo) {
  auto cases = RefusalCases("registry_export.txt");
  cases.push_back({3, "neither UTF-8 nor UTF-16", "[HKLM\\K]\r\n\"\xE9\"=dword:1\r\n"});
  for (const auto& [line, reason, lines] : cases) {
    FileError error;
    EXPECT_FALSE(DecodeRegistryExport(kHeader + lines, error)) << lines;
    EXPECT_EQ(error.line, line) << lines;
    EXPECT_THAT(error.reason, HasSubstr(reason));
  }
  FileError error;
  EXPECT_FALSE(DecodeRegistryExport("[HKLM\\K]\r\n", error));
  EXPECT_EQ(error.line, 1);
  for (const char* none : {"\xFF\xFE\x52", ""}) EXPECT_FALSE(DecodeRegistryExport(none, error));
}

TEST(RegistryExport, TextIsWrittenAsTextOnlyWhenItReadsBackExactly) {
  const auto written = [](std::uint32_t type, const Bytes& bytes) {
    RegistryExport content;
    content.keys = {{L"HKEY_LOCAL_MACHINE\\K", false, {{L"v", false, type, bytes}}}};
    const std::string text = EncodeRegistryExport(content);
    EXPECT_EQ(Decode(text), content) << text;
    const std::size_t equals = text.find('=');
    return text.substr(equals + 1, text.find('\r', equals) - equals - 1);
  };
  EXPECT_EQ(written(kRegSz, RegistryTextBytes(L"a\"\\\u00E9")), "\"a\\\"\\\\\xC3\xA9\"");
  EXPECT_EQ(written(kRegSz, RegistryTextBytes(L"\xD83D\xDE00")), "\"\xF0\x9F\x98\x80\"");
  EXPECT_EQ(written(kRegSz, RegistryTextBytes(L"")), "\"\"");
  EXPECT_EQ(written(kRegSz, {}), "hex(1):");
  EXPECT_EQ(written(kRegSz, {0x41, 0}), "hex(1):41,00");
  EXPECT_EQ(written(kRegSz, {0x41, 0, 0}), "hex(1):41,00,00");
  EXPECT_EQ(written(kRegSz, {0, 0, 0, 0}), "hex(1):00,00,00,00");
  EXPECT_EQ(written(kRegSz, {0x0A, 0, 0, 0}), "hex(1):0a,00,00,00");
  EXPECT_EQ(written(kRegSz, {0x00, 0xD8, 0, 0}), "hex(1):00,d8,00,00");
  EXPECT_EQ(written(kRegExpandSz, RegistryTextBytes(L"a")), "hex(2):61,00,00,00");
  EXPECT_EQ(written(kRegDword, {1, 2, 3, 4}), "dword:04030201");
  EXPECT_EQ(written(kRegDword, {1, 2}), "hex(4):01,02");
  EXPECT_EQ(written(0xA0000001, {1}), "hex(a0000001):01");
}

TEST(RegistryExport, LongListsAreContinuedOverLinesOfOrdinaryWidth) {
  RegistryExport content;
  content.keys = {
      {L"HKEY_CURRENT_USER\\K", false, {{L"image", false, kRegBinary, Bytes(1000, 0x5A)}}}};
  const std::string text = EncodeRegistryExport(content);
  EXPECT_EQ(Decode(text), content);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find("\r\n", begin);
    EXPECT_LE(end - begin, 80U);
    begin = end + 2;
  }
}

TEST(RegistryExport, ANameWithoutUtf8FormIsWrittenAsUtf16) {
  RegistryExport content;
  content.keys = {{std::wstring(L"HKEY_CURRENT_USER\\") + wchar_t{0xD800}, true, {}}};
  const std::string text = EncodeRegistryExport(content);
  EXPECT_TRUE(text.starts_with("\xFF\xFE"));
  EXPECT_EQ(Decode(text).keys, content.keys);
}

}  // namespace
}  // namespace orv
