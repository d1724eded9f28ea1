#include "cli/offline/image_json.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

namespace orv::cli {
namespace {

// Through text, as the command line sends it.
ImageBytes ThroughJson(const ORVPropertyList& list) {
  std::string error;
  const auto back = EntriesFromJson(Json::parse(EntriesToJson(list).dump()), error);
  EXPECT_TRUE(back) << error;
  ImageBytes image;
  if (back) EncodeImage(*back, image);
  return image;
}

TEST(ImageJson, EveryKindComesBackByteForByte) {
  const ORVPropertyList list = {{L"long", LongValue{-2147483647 - 1}},
                                {L"int", 2147483647},
                                {L"short", std::int16_t{-32768}},
                                {L"float", 0.1F},
                                {L"double", 0.1},
                                {L"negative zero", -0.0},
                                {L"smallest", std::numeric_limits<float>::denorm_min()},
                                {L"bool", true},
                                {L"narrow", std::string("Enabled")},
                                {L"wide", std::wstring(L"\x00FC\x4E2D")},
                                {L"bytes", SignedBytes{-1, 0, 127}},
                                {L"unsigned", UnsignedBytes{0, 255}},
                                // What has no form of its own in JSON.
                                {L"nan", std::bit_cast<float>(std::uint32_t{0xFFC12345})},
                                {L"infinite", -std::numeric_limits<double>::infinity()},
                                {L"no utf-8", std::string("\xFF\xC3")},
                                {L"half a pair", std::wstring(1, static_cast<wchar_t>(0xD800))},
                                {std::wstring(1, static_cast<wchar_t>(0xDC00)), 1}};
  ImageBytes image;
  EXPECT_TRUE(EncodeImage(list, image));
  EXPECT_EQ(ThroughJson(list), image);
}

TEST(ImageJson, HexTextIsReadAsExportsWriteIt) {
  EXPECT_EQ(BytesFromHex("\"Value\"=hex:0c,00,\\\n  FF"), (ImageBytes{0x0C, 0x00, 0xFF}));
  EXPECT_EQ(BytesFromHex("0c00ff"), (ImageBytes{0x0C, 0x00, 0xFF}));
  for (const char* text : {"0", "0c 0", "0 c", "0g", "0x0c"})
    EXPECT_FALSE(BytesFromHex(text)) << text;
}

}  // namespace
}  // namespace orv::cli
