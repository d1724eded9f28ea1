#include "properties/property_value.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>
#include <cmath>
#include <cstring>
#include <limits>

namespace orv {
namespace {

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
