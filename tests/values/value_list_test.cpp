#include "values/value_list.h"

#include <gtest/gtest.h>

#include <utility>

namespace orv {
namespace {

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
  EXPECT_EQ(Content(list), "int=2 number=5") << "an int is no long";
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

}  // namespace
}  // namespace orv
