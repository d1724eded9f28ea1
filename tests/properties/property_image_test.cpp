#include "properties/property_image.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

#include "properties/property_story.h"

namespace orv {
namespace {

using test::Content;

// One record; the sizes in its header may lie.
ImageBytes Record(const ImageBytes& name, const ImageBytes& tag, const ImageBytes& data,
                  std::optional<std::size_t> name_size = {},
                  std::optional<std::size_t> data_size = {}) {
  ImageBytes record;
  for (const std::size_t size :
       {name_size.value_or(name.size()), tag.size(), data_size.value_or(data.size())})
    for (int shift = 0; shift < 32; shift += 8)
      record.push_back(static_cast<std::uint8_t>(size >> shift));
  for (const auto* part : {&name, &tag, &data})
    record.insert(record.end(), part->begin(), part->end());
  return record;
}

ImageBytes operator+(ImageBytes a, const ImageBytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  a.shrink_to_fit();  // so that a read outside is found out
  return a;
}

const ImageBytes kName = {'x', 0}, kTextTag = {6}, kData = {'1'};
const ImageBytes kA = Record({'a', 0}, {6}, {'1'}), kB = Record({'b', 0}, {6}, {'2'});

struct Outcome {
  std::wstring content;
  ImageDecoding decoding;
};

Outcome Decode(const ImageBytes& image, ImageReading reading) {
  ORVPropertyList list;
  const ImageDecoding decoding = DecodeImage(image, reading, list);
  return {Content(list), decoding};
}

TEST(PropertyImage, RecordsLieByteByByteAsTheProcessingObjectReadsThem) {
  ImageBytes image(100, 0xCD);
  EXPECT_TRUE(EncodeImage({{L"ab", LongValue{-2}}, {L"\u20AC", std::wstring(L"xy")}}, image));
  const ImageBytes expected = Record({'a', 0, 'b', 0}, {0}, {0xFE, 0xFF, 0xFF, 0xFF}) +
                              Record({0xAC, 0x20}, {7}, {'x', 0, 'y', 0});
  EXPECT_EQ(image, expected);
}

TEST(PropertyImage, EveryKindComesBackAsItself) {
  const ORVPropertyList list = {
      {L"long", LongValue{std::numeric_limits<std::int32_t>::min()}},
      {L"int", 5},
      {L"short", static_cast<short>(-300)},
      {L"float", std::numeric_limits<float>::denorm_min()},
      {L"double", 0.1},
      {L"on", true},
      {L"off", false},
      {L"narrow", std::string("\xE9t\xE9")},
      {L"wide", std::wstring(L"\xD83D\x4E2D")},
      {L"signed", SignedBytes{-128, 0, 127}},
      {L"unsigned", UnsignedBytes{0, 255}},
  };
  ImageBytes image;
  ASSERT_TRUE(EncodeImage(list, image));
  for (const ImageReading reading : {ImageReading::Replace, ImageReading::Merge}) {
    ORVPropertyList back;
    EXPECT_TRUE(DecodeImage(image, reading, back).complete);
    ASSERT_EQ(back.size(), list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
      EXPECT_EQ(back[i].name, list[i].name);
      EXPECT_TRUE(SameValue(back[i].value, list[i].value)) << i;
    }
  }
}

TEST(PropertyImage, WhatHasNoBytesIsLeftOutAndTheRestIsWritten) {
  const boost::any unwritable[] = {std::string(),   std::wstring(), SignedBytes(),
                                   UnsignedBytes(), boost::any(),   std::uint64_t{1}};
  for (const boost::any& value : unwritable) {
    ImageBytes image;
    EXPECT_FALSE(EncodeImage({{L"a", 1}, {L"x", value}, {L"b", 2}}, image));
    EXPECT_EQ(Decode(image, ImageReading::Replace).content, L"a=1 b=2");
  }
  ImageBytes image(5, 0xCD);
  EXPECT_TRUE(EncodeImage({}, image));
  EXPECT_TRUE(image.empty());
}

TEST(PropertyImage, TruncatedImageLeavesEarlierEntries) {
  const ImageBytes image = kA + kB;
  const std::size_t record = kA.size();
  const std::wstring contents[] = {L"", L"a=1", L"a=1 b=2"};
  for (std::size_t size = 0; size <= image.size(); ++size) {
    const ImageBytes cut(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size));
    const Outcome outcome = Decode(cut, ImageReading::Replace);
    const bool complete = size % record == 0 || (size > 1 && size % record == 1);  // padding
    EXPECT_EQ(outcome.content, contents[size / record]) << size;
    EXPECT_EQ(outcome.decoding.complete, complete) << size;
    EXPECT_EQ(outcome.decoding.fault_offset, complete ? 0 : size / record * record);
    EXPECT_TRUE(Decode(cut, ImageReading::Merge).decoding.complete);
  }
}

TEST(PropertyImage, ARecordThatEndsTheReadingKeepsWhatCameBefore) {
  constexpr std::size_t kHuge = 0xFFFFFFFF;
  const std::pair<ImageBytes, ImageFault> cases[] = {
      {Record(kName, kTextTag, {}), ImageFault::NoData},
      {Record({}, kTextTag, kData), ImageFault::BrokenHeader},
      {Record(kName, {}, kData), ImageFault::BrokenHeader},
      {Record(ImageBytes(2049, 'x'), kTextTag, kData), ImageFault::BrokenHeader},
      {Record(kName, ImageBytes(1025, 'x'), kData), ImageFault::BrokenHeader},
      {Record(kName, kTextTag, kData, kHuge), ImageFault::BrokenHeader},
      {Record(kName, kTextTag, kData, {}, kHuge), ImageFault::CutShort},
      {Record(kName, kTextTag, kData, 2048, kHuge - 2060), ImageFault::CutShort},
      {Record(kName, {0}, {1, 2, 3}), ImageFault::CutShort},
      {Record(kName, {1}, {1, 2, 3}), ImageFault::CutShort},
      {Record(kName, {2}, {1}), ImageFault::CutShort},
      {Record(kName, {3}, {1, 2, 3}), ImageFault::CutShort},
      {Record(kName, {4}, {1, 2, 3, 4, 5, 6, 7}), ImageFault::CutShort},
  };
  for (const auto& [record, fault] : cases) {
    for (const ImageReading reading : {ImageReading::Replace, ImageReading::Merge}) {
      const Outcome outcome = Decode(kA + record + kB, reading);
      EXPECT_EQ(outcome.content, L"a=1") << testing::PrintToString(record);
      EXPECT_EQ(outcome.decoding.fault, fault);
      EXPECT_EQ(outcome.decoding.fault_offset, kA.size());
      EXPECT_EQ(outcome.decoding.complete, reading == ImageReading::Merge);
    }
  }
}

TEST(PropertyImage, UnknownTagsArePassedOverAndTextTagsEndAReplacement) {
  const ImageBytes unknown = kA + Record(kName, {12}, kData) + kB;
  EXPECT_EQ(Decode(unknown, ImageReading::Replace).content, L"a=1 b=2");
  EXPECT_EQ(Decode(unknown, ImageReading::Merge).decoding.unknown_tags, 1U);
  const ImageBytes named = kA + Record(kName, {'i', 0}, {1, 0, 0, 0}) + kB;
  EXPECT_EQ(Decode(named, ImageReading::Merge).content, L"a=1 b=2");
  const Outcome replaced = Decode(named, ImageReading::Replace);
  EXPECT_EQ(replaced.content, L"a=1");
  EXPECT_EQ(replaced.decoding.fault, ImageFault::UnknownTextTag);
  EXPECT_FALSE(replaced.decoding.complete);
}

TEST(PropertyImage, NamesAndTextsEndAtTheFirstTerminator) {
  const ImageBytes image =
      Record({'n', 0, 0, 0, 'm', 0}, {6}, {'1'}) +
      Record({0, 0, 'm', 0}, {6}, {'1'}) +  // nameless: no entry
      Record({'w', 0}, {7}, {'a', 0, 'b', 0, 0, 0, 'c', 0}) +
      Record({'o', 0, 'z'}, {7}, {'a', 0, 'b'}) + Record({'t', 0}, {6}, {'a', 'b', 0, 'c'}) +
      Record({'i', 0}, {0}, {7, 0, 0, 0, 99}) + Record(ImageBytes(2048, 'x'), {6}, {'1'});
  EXPECT_EQ(Decode(image, ImageReading::Replace).content,
            L"n=1 w=ab o=a t=ab i=7 " + std::wstring(1024, L'\x7878') + L"=1");
}

}  // namespace
}  // namespace orv
