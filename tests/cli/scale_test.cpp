#include "cli/show/scale.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv::cli {
namespace {

constexpr auto kLowest = std::numeric_limits<std::int32_t>::min();

TEST(Scale, HundredthsShowTwoDecimalsAndTheirSign) {
  EXPECT_EQ(NumberText(1250, ORV_QVT_SCALE_BY100, 100.0F), "12.50");
  EXPECT_EQ(NumberText(-5, ORV_QVT_SCALE_BY100, 100.0F), "-0.05");
  EXPECT_EQ(NumberText(kLowest, ORV_QVT_SCALE_BY100, 100.0F), "-21474836.48");
}

TEST(Scale, DecibelsFollowTheFactorOfTheirSteps) {
  EXPECT_EQ(NumberText(-60, ORV_QVT_SCALE_DB, 10.0F), "-6.0 dB");
  EXPECT_EQ(NumberText(-6, ORV_QVT_SCALE_DB, 1.0F), "-6 dB");
  EXPECT_EQ(NumberText(3, ORV_QVT_SCALE_DB, 0.3F), "3 dB");
}

TEST(Scale, ChoicesShowTheirTextAndOtherNumbersThemselves) {
  const std::vector<std::string> choices = {"Off", "Low", "High"};
  EXPECT_EQ(ValueText(2, ORV_QVT_SCALE_ENUM, 1.0F, choices), "High");
  EXPECT_EQ(ValueText(3, ORV_QVT_SCALE_ENUM, 1.0F, choices), "3");
  EXPECT_EQ(ValueText(-1, ORV_QVT_SCALE_ENUM, 1.0F, choices), "-1");
}

}  // namespace
}  // namespace orv::cli
