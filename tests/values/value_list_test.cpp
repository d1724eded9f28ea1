#include "values/value_list.h"

#include <gmock/gmock.h>

#include <utility>

#include "values/control_info.h"

namespace orv {
namespace {

using testing::ElementsAre;

ORVQVTValueList List(std::initializer_list<std::pair<const char*, int>> values) {
  ORVQVTValueList list;
  for (const auto& [name, number] : values) list.GetOrAdd(name) = ORVQVTValue(name, number);
  return list;
}

// "name=text name=text", in the list's order.
std::string Content(const ORVQVTValueList& list) {
  std::string content;
  for (const auto& [key, value] : list) {
    EXPECT_EQ(key, value.GetName());
    content += (content.empty() ? "" : " ") + key + "=" + value.ToString();
  }
  return content;
}

TEST(ControlValueList, MergesByItsMode) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {kORVQVT_Merge_Replace, "b=5 c=7"},    {kORVQVT_Merge_UpdateAndAdd, "a=1 b=5 c=7"},
      {kORVQVT_Merge_UpdateOnly, "a=1 b=5"}, {kORVQVT_Merge_AddOnly, "a=1 b=2 c=7"},
      {kORVQVT_Merge_Remove, "a=1"},         {9, "b=5 c=7"},
  };
  for (const auto& [mode, expected] : cases) {
    ORVQVTValueList list = List({{"b", 2}, {"a", 1}});
    list.Merge(List({{"c", 7}, {"b", 5}}), mode);
    EXPECT_EQ(Content(list), expected) << mode;
    const std::string before = Content(list);
    list.Merge(list, mode);
    EXPECT_EQ(Content(list), mode == kORVQVT_Merge_Remove ? "" : before) << "with itself";
  }
}

TEST(ControlValueList, NamesAreExactAndInByteOrder) {
  ORVQVTValueList list = List({{"ab", 1}, {"a", 2}, {"B", 3}});
  EXPECT_EQ(Content(list), "B=3 a=2 ab=1");
  EXPECT_EQ(list.Find("b"), nullptr);
  EXPECT_EQ(list.Find("ab")->ToLong(), 1);
  EXPECT_EQ(std::as_const(list).Find("a")->ToLong(), 2);
  EXPECT_EQ(list.GetOrAdd("new").GetName(), "Unnamed");
  ORVQVTNameList names;
  for (const char* name : {"new", "A", "ab"}) names.Add(name);
  list.RemoveNames(names);
  EXPECT_EQ(Content(list), "B=3 a=2");
}

TEST(ControlValueList, AnEmptyListReceivesEveryPropertyAndAFilledOneUpdatesWhatItHolds) {
  ORVPropertySet set;
  set.SetAllProperties({{L"Number", LongValue{5}},
                        {L"text", std::string("t")},
                        {L"wide", std::wstring(L"w")},
                        {L"int", 6},
                        {L"other", 1.5},
                        {L"text", std::string("later")}},
                       false);
  ORVQVTValueList list;
  list.LoadFromPropertySet(set);
  EXPECT_EQ(Content(list), "Number=5 int=0 other=0 text=later wide=w");
  EXPECT_EQ(KindOf(list.Find("Number")->GetHeld()), PropertyKind::Long);
  list = List({{"number", 1}, {"int", 2}});
  list.LoadFromPropertySet(set);
  EXPECT_EQ(Content(list), "int=2 number=5") << "an int is not a long";
}

TEST(ControlValueList, EverythingIsSavedAsText) {
  ORVPropertySet set;
  set.SetProperty(L"LEVEL", 1);
  ORVQVTValueList list = List({{"level", 3}});
  list.GetOrAdd("real") = ORVQVTValue("real", boost::any(0.5F));
  list.SaveToPropertySet(set);
  ORVPropertyList properties;
  set.GetAllProperties(properties);
  ASSERT_EQ(properties.size(), 2U);
  EXPECT_EQ(properties[0].name, L"LEVEL");
  EXPECT_TRUE(SameValue(properties[0].value, std::string("3")));
  EXPECT_TRUE(SameValue(properties[1].value, std::string("0.5")));
}

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
