#include "values/value.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv {
namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

ORVQVTValue Text(const char* text) { return ORVQVTValue("x", std::string(text)); }
ORVQVTValue Held(boost::any held) { return ORVQVTValue("x", std::move(held)); }

TEST(ControlValue, TextBecomesAnIntegerOrMinusOne) {
  for (const char* text : {"enabled", "Enabled ", "", " 7", "0x7", "1e3", "2147483648", "12.5",
                           "-2147483648.0", "2147483648.0", "1.0e30", "nan(.)", "1.0x"})
    EXPECT_EQ(Text(text).ToLong(), -1) << text;
  for (const char* text : {"Disabled", "0.9", "-0.9"}) EXPECT_EQ(Text(text).ToLong(), 0) << text;
  EXPECT_EQ(Text("Enabled").ToLong(), 1);
  EXPECT_EQ(Text("+7").ToLong(), 7);
  EXPECT_EQ(Text("12.0").ToLong(), 12);
  EXPECT_EQ(Text("1.e3").ToLong(), 1000);
  EXPECT_EQ(Text("-2147483648").ToLong(), kLowest);
  EXPECT_EQ(Text("2147483520.0").ToLong(), 2147483520);
}

TEST(ControlValue, EachHeldKindHasItsThreeForms) {
  const float infinity = std::numeric_limits<float>::infinity();
  const std::tuple<boost::any, std::string, std::int32_t, float> cases[] = {
      {LongValue{5}, "5", 5, 5.0F},
      {-3, "-3", -3, -3.0F},
      {0.5F, "0.5", 0, 0.5F},
      {-2.9F, "-2.9000001", -2, -2.9F},
      {infinity, "inf", kLowest, infinity},
      {3e9F, "3e+09", kLowest, 3e9F},
      {std::string("1e3"), "1e3", -1, 1000.0F},
      {std::string("word"), "word", -1, -1.0F},
      {std::wstring(L"7"), "7", 7, 7.0F},
      {true, "", -1, -1.0F},
      {2.0, "", -1, -1.0F},
      {boost::any(), "", -1, -1.0F},
  };
  for (const auto& [held, text, number, real] : cases) {
    EXPECT_EQ(Held(held).ToString(), text);
    EXPECT_EQ(Held(held).ToLong(), number) << text;
    EXPECT_EQ(Held(held).ToFloat(), real) << text;
  }
  EXPECT_EQ(Held(std::numeric_limits<float>::quiet_NaN()).ToLong(), kLowest);
  EXPECT_EQ(Held(std::numeric_limits<float>::quiet_NaN()).ToString(), "nan");
}

TEST(ControlValue, WideTextIsNeverHeld) {
  ORVQVTValue value("x", std::wstring(L"\xE9"));
  EXPECT_EQ(KindOf(value.GetHeld()), PropertyKind::NarrowText);
  EXPECT_EQ(value.ToString(), "\xE9");
  EXPECT_EQ(value.ToWString(), L"\xE9");
  value.SetValue(L"a");
  EXPECT_TRUE(value.EqualsText("a"));
  value.SetValue(boost::any(std::wstring(L"c")));
  EXPECT_TRUE(value.EqualsText("c"));
  EXPECT_FALSE(value.EqualsText("cc"));
  value.SetValue(static_cast<const char*>(nullptr));
  EXPECT_TRUE(value.EqualsText(""));
  value.SetValue(4);
  EXPECT_EQ(KindOf(value.GetHeld()), PropertyKind::Long);
}

TEST(ControlValue, NamesAndTextsMakeValuesEqual) {
  EXPECT_TRUE(ORVQVTValue("x", 1).Equals(Text("1")));
  EXPECT_FALSE(ORVQVTValue("y", 1).Equals(Text("1")));
  EXPECT_EQ(ORVQVTValue("ZAPO3-Process Enable", 1).GetBaseName(), "ZAPO3-Process Enable");
  EXPECT_EQ(ORVQVTValue("a:b:c", 1).GetBaseName(), "b:c");
  EXPECT_EQ(ORVQVTValue(":", 1).GetBaseName(), "");
  EXPECT_EQ(ORVQVTValue("\xE9", 1).GetWName(), L"\xE9");
}

}  // namespace
}  // namespace orv
