#include "values/control_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

using testing::ElementsAre;

std::vector<std::string> Texts(const ORVQVTNameList& names) { return {names.begin(), names.end()}; }

const char* const kLevels[] = {"Off", "Low", "High"};

TechnologyControlRecord LevelRecord(std::uint32_t scale, float factor) {
  return {"VQ3D-Level", -5, 10, 0, 3, 0, kLevels, scale, factor};
}

TEST(ControlInfo, FactorFollowsTheScaleWhenItIsDerived) {
  ORVQVTControlInfo info;
  info.AssignDescriptorDeriveFactor(LevelRecord(ORV_QVT_SCALE_DB, 10.0F));
  EXPECT_EQ(info.factor(), 1.0F);
  EXPECT_EQ(info.scale(), 3U);
  EXPECT_THAT(Texts(info.names()), ElementsAre("Off", "Low", "High"));
}

TEST(ControlInfo, ANewRecordLeavesNothingOfTheOldOne) {
  ORVQVTControlInfo info;
  const std::tuple<const char* const*, std::int32_t, std::size_t> cases[] = {
      {kLevels, 1, 1U}, {kLevels, 0, 0U}, {kLevels, -3, 0U}, {nullptr, 3, 0U}};
  for (const auto& [names, count, left] : cases) {
    info.AssignDescriptor(LevelRecord(ORV_QVT_SCALE_ENUM, 1.0F));
    info.AssignDescriptor({"x", 0, 0, 0, count, 0, names, 1, 1.0F});
    EXPECT_EQ(info.names().Count(), left);
  }
}

TEST(ControlInfo, ChoicesHaveNumbersAndNumbersHaveChoices) {
  ORVQVTNameList names;
  for (const char* name : {"Off", "Low", "High", "Low"}) names.Add(name);
  EXPECT_EQ(ChoiceText(names, 2), "High");
  EXPECT_EQ(ChoiceText(names, 4), std::nullopt);
  EXPECT_EQ(ChoiceText(names, -1), std::nullopt);
  EXPECT_EQ(ChoiceNumber(names, "Off"), 0);
  EXPECT_EQ(ChoiceNumber(names, "Low"), 3) << "the last of equal names";
  EXPECT_EQ(ChoiceNumber(names, "low"), std::nullopt);
  names.Remove("low");
  names.Remove("Low");
  EXPECT_THAT(Texts(names), ElementsAre("Off", "High", "Low")) << "the first of equal names goes";
}

}  // namespace
}  // namespace orv
