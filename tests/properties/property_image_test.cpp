#include "properties/property_image.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>
#include <cmath>

#include "platform/text.h"
#include "properties/property_fixture.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using nlohmann::json;
using test::Content;

template <class Bytes>
Bytes FromHex(const std::string& digits) {
  Bytes bytes;
  for (const std::byte byte : BytesOfHex(digits))
    bytes.push_back(static_cast<typename Bytes::value_type>(byte));
  bytes.shrink_to_fit();  // a sanitizer reports every read outside
  return bytes;
}

boost::any ValueOf(const std::string& kind, const json& value) {
  if (kind == "long") return LongValue{value.get<std::int32_t>()};
  if (kind == "int") return value.get<int>();
  if (kind == "short") return value.get<short>();
  if (kind == "float") return value.get<float>();
  if (kind == "double") return value.get<double>();
  if (kind == "bool") return value.get<bool>();
  if (kind == "bytes") return FromHex<SignedBytes>(value);
  if (kind == "unsigned_bytes") return FromHex<UnsignedBytes>(value);
  if (kind == "wide") return WideFromUtf8(value.get<std::string>());
  if (value.is_object()) return FromHex<std::string>(value.at("units"));
  return value.get<std::string>();
}

ORVPropertyList ListOf(const json& entries) {
  ORVPropertyList list;
  for (const json& entry : entries)
    list.push_back({WideFromUtf8(entry.at("name").get<std::string>()),
                    ValueOf(entry.at("kind"), entry.at("value"))});
  return list;
}

// Content with the number of each entry's kind.
std::wstring Listing(const ORVPropertyList& list) {
  std::wstring listing;
  for (const ORVPropertyEntry& entry : list)
    listing += std::to_wstring(static_cast<int>(KindOf(entry.value).value())) + L":" +
               Content({entry}) + L"\n";
  return listing;
}

void ExpectReading(const ImageBytes& image, ImageReading reading, const json& entries,
                   bool complete) {
  ORVPropertyList list;
  EXPECT_EQ(DecodeImage(image, reading, list).complete, complete);
  EXPECT_EQ(Listing(list), Listing(ListOf(entries)));
}

TEST(PropertyImage, EqualsReferenceData) {
  const json& data = ReferenceData("images.json");
  ASSERT_GT(data.at("cases").size(), 40U);
  for (const json& test : data.at("cases")) {
    SCOPED_TRACE(test.at("name"));
    const auto image = FromHex<ImageBytes>(test.at("image"));
    const bool complete = test.at("result");
    if (test.contains("merge")) {
      ExpectReading(image, ImageReading::Replace, test.at("entries"), complete);
      ExpectReading(image, ImageReading::Merge, test.at("merge"), true);
    } else {
      ImageBytes encoded(100, 0xCD);
      EXPECT_EQ(EncodeImage(ListOf(test.at("entries")), encoded), complete);
      EXPECT_EQ(encoded, image);
      if (complete) ExpectReading(image, ImageReading::Replace, test.at("entries"), true);
    }
  }
}

TEST(PropertyImage, LeavesOutEntriesThatNoReaderAccepts) {
  const ORVPropertyEntry refused[] = {
      {L"x", boost::any()}, {L"x", std::uint64_t{1}}, {L"", 3}, {std::wstring(1025, L'x'), 3}};
  for (const ORVPropertyEntry& entry : refused) {
    ImageBytes image;
    EXPECT_FALSE(EncodeImage({{L"a", 1}, entry, {L"b", 2}}, image));
    ORVPropertyList list;
    EXPECT_TRUE(DecodeImage(image, ImageReading::Replace, list).complete);
    EXPECT_EQ(Content(list), L"a=1 b=2");
  }
  ImageBytes image(5, 0xCD);
  EXPECT_TRUE(EncodeImage({{std::wstring(1024, L'x'), 1}}, image));
  EXPECT_TRUE(EncodeImage({}, image));
  EXPECT_TRUE(image.empty());
}

TEST(PropertyImage, NamesTheFaultAndItsPlace) {
  const std::string good = "02000000010000000100000061000631";
  const std::pair<const char*, ImageFault> cases[] = {
      {"020000000100000000000000780006", ImageFault::NoData},
      {"00000000010000000100000006", ImageFault::BrokenHeader},
      {"02000000010000000300000078000001", ImageFault::CutShort},
      {"0200000002000000010000007800690000", ImageFault::UnknownTextTag},
  };
  for (const auto& [record, fault] : cases) {
    ORVPropertyList list;
    const auto image = FromHex<ImageBytes>(good + record);
    const ImageDecoding decoding = DecodeImage(image, ImageReading::Replace, list);
    EXPECT_EQ(decoding.fault, fault) << record;
    EXPECT_EQ(decoding.fault_offset, good.size() / 2);
  }
  ORVPropertyList list;
  const auto image = FromHex<ImageBytes>("0200000001000000010000007800ff31" + good);
  EXPECT_EQ(DecodeImage(image, ImageReading::Merge, list).unknown_tags, 1U);
}

TEST(PropertyValue, EveryKindHasItsTextForm) {
  const std::pair<boost::any, std::string> cases[] = {
      {LongValue{-7}, "-7"},          {std::numeric_limits<int>::min(), "-2147483648"},
      {static_cast<short>(-3), "-3"}, {0.1F, "0.100000001"},
      {0.1, "0.10000000000000001"},   {true, "1"},
      {std::string("text"), "text"},  {std::wstring(L"wide"), "wide"},
      {SignedBytes{-1, 16}, "FF10"},  {UnsignedBytes{0x0A, 0xFF}, "0AFF"},
  };
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(NarrowTextOf(value), text);
    EXPECT_EQ(WideTextOf(value), std::wstring(text.begin(), text.end()));
  }
  EXPECT_EQ(WideTextOf(std::string("\xE9")), L"\u00E9");
  EXPECT_EQ(NarrowTextOf(std::wstring(L"\u4E2D")), "") << "does not convert, yet is text";
  EXPECT_EQ(NarrowTextOf(boost::any()), std::nullopt);
  EXPECT_EQ(WideTextOf(std::uint64_t{1}), std::nullopt);
}

TEST(PropertyValue, IntegersComeFromIntegersAndDecimalText) {
  EXPECT_EQ(IntegerOf(LongValue{5}), 5);
  EXPECT_EQ(IntegerOf(static_cast<short>(-5)), -5);
  EXPECT_EQ(IntegerOf(true), 1);
  EXPECT_EQ(IntegerOf(std::string("-2147483648")), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(IntegerOf(std::wstring(L"+7")), 7);
  EXPECT_EQ(IntegerOf(1.0F), std::nullopt);
  EXPECT_EQ(IntegerOf(1.0), std::nullopt);
  EXPECT_EQ(IntegerOf(UnsignedBytes{1}), std::nullopt);
  for (const char* text : {"12x", "", " 1", "2147483648", "0x10"}) {
    EXPECT_THROW(IntegerOf(std::string(text)), boost::bad_lexical_cast) << text;
    EXPECT_THROW(IntegerOf(std::wstring(text, text + std::strlen(text))), boost::bad_lexical_cast);
  }
}

TEST(PropertyValue, OnlyTheSameKindAndContentIsTheSame) {
  EXPECT_TRUE(SameValue(LongValue{5}, LongValue{5}));
  EXPECT_FALSE(SameValue(LongValue{5}, 5));
  EXPECT_FALSE(SameValue(std::string("a"), std::wstring(L"a")));
  EXPECT_FALSE(SameValue(SignedBytes{1}, UnsignedBytes{1}));
  EXPECT_FALSE(SameValue(UnsignedBytes{1}, UnsignedBytes{1, 0}));
  EXPECT_TRUE(SameValue(0.0F, -0.0F));
  EXPECT_TRUE(SameValue(0.0, -0.0));
  EXPECT_FALSE(SameValue(std::nanf(""), std::nanf("")));
  EXPECT_FALSE(SameValue(std::nan(""), 1.0));
  EXPECT_FALSE(SameValue(boost::any(), boost::any()));
}

}  // namespace
}  // namespace orv
