#include "properties/property_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/lexical_cast.hpp>
#include <cmath>
#include <functional>
#include <random>
#include <thread>

#include "properties/property_fixture.h"

namespace orv {
namespace {

using test::Content;
using test::Listener;
using test::TextOf;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(PropertySet, ReportsOnlyRealChanges) {
  ORVPropertySet set;
  EXPECT_FALSE(set.IsModified());
  set.SetProperty(L"level", 5);
  set.SetModified(false);
  Listener listener;
  set.AddNotify(&listener);
  set.AddNotify(&listener);

  set.SetProperty(L"level", 5);
  EXPECT_FALSE(set.IsModified());
  EXPECT_THAT(listener.changed(), IsEmpty());
  EXPECT_THAT(listener.changing(), ElementsAre(L"level=5"));

  set.SetProperty(L"level", boost::any(5));  // the other integer kind
  EXPECT_TRUE(set.IsModified());
  EXPECT_THAT(listener.changed(), ElementsAre(L"level=5"));

  set.SetProperty(L"level", boost::any(std::nanf("")));
  set.SetProperty(L"level", boost::any(std::nanf("")));
  EXPECT_EQ(listener.changed().size(), 3U);

  set.RemoveNotify(&listener);
  set.SetProperty(L"level", "off");
  EXPECT_EQ(listener.changed().size(), 3U);
}

TEST(PropertySet, NamesIgnoreLetterCaseAndKeepTheirFirstSpelling) {
  ORVPropertySet set;
  Listener listener;
  set.AddNotify(&listener);
  set.SetProperty(L"VQ3D-Level", 1);
  set.SetProperty(L"vq3d-lEVEL", 2);
  set.SetProperty(L"VQ3D-Leve", 3);
  set.SetProperty(L"VQ3D\x0DLevel", 4);  // differs from '-' by the letters' case bit only
  EXPECT_EQ(Content(set), L"VQ3D-Level=2 VQ3D-Leve=3 VQ3D\x0DLevel=4");
  EXPECT_EQ(listener.changed()[1], L"VQ3D-Level=2");
  set.SetProperty(L"\u00C9", 1);
  EXPECT_EQ(TextOf(set, L"\u00E9"), L"(none)");
}

TEST(PropertySet, FirstEntryOfANameCounts) {
  ORVPropertySet set;
  set.SetAllProperties({{L"a", LongValue{1}}, {L"b", LongValue{2}}, {L"A", LongValue{3}}}, false);
  ImageBytes image;
  set.GetAllPropertiesBinary(image);
  for (const bool from_image : {false, true}) {
    if (from_image) set.SetAllPropertiesBinary(image);
    std::int32_t number = 0;
    for (const auto& [name, value] : {std::pair{L"b", 2}, {L"a", 1}}) {
      EXPECT_TRUE(set.GetProperty(name, number));
      EXPECT_EQ(number, value);
    }
  }
}

TEST(PropertySet, GettersLeaveTheResultUnchangedWithoutAnEntry) {
  ORVPropertySet set;
  set.SetProperty(L"real", boost::any(1.5F));
  set.SetProperty(L"empty", boost::any());
  set.SetProperty(L"word", "12x");
  std::int32_t number = 77;
  std::string text = "poison";
  boost::any any = std::string("poison");
  EXPECT_FALSE(set.GetProperty(L"real", number));
  EXPECT_FALSE(set.GetProperty(L"missing", number));
  EXPECT_FALSE(set.GetProperty(std::wstring(L"empty"), number));
  EXPECT_FALSE(set.GetProperty(L"empty", text));
  EXPECT_FALSE(set.GetProperty(L"missing", any));
  EXPECT_THROW(set.GetProperty(L"word", number), boost::bad_lexical_cast);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(text, "poison");
  EXPECT_TRUE(SameValue(any, std::string("poison")));
  EXPECT_TRUE(set.GetProperty(L"empty", any));
  EXPECT_TRUE(any.empty());
}

TEST(PropertySet, AFaultyImageReplacesTheContentUpToTheFault) {
  ImageBytes image;
  ASSERT_TRUE(EncodeImage({{L"a", 1}, {L"A", 2}, {L"b", std::string("x")}}, image));
  image.pop_back();
  ORVPropertySet set;
  set.SetProperty(L"old", 1);
  set.SetModified(false);
  Listener listener;
  set.AddNotify(&listener);
  EXPECT_FALSE(set.SetAllPropertiesBinary(image));
  EXPECT_TRUE(set.IsModified());
  EXPECT_EQ(Content(set), L"a=1 A=2");
  EXPECT_EQ(TextOf(set, L"A"), L"1");  // the first of the two
  EXPECT_THAT(listener.changed(), IsEmpty());
}

// The set keeps its image and encodes only what changed. The image always equals one that is
// encoded from the list as a whole.
void ExpectTrueImage(ORVPropertySet& set) {
  ORVPropertyList list;
  set.GetAllProperties(list);
  ImageBytes expected;
  const bool complete = EncodeImage(list, expected);
  ImageBytes image;
  EXPECT_EQ(set.GetAllPropertiesBinary(image), complete);
  EXPECT_EQ(image, expected);
}

TEST(PropertySet, KeptImageEqualsAFreshOne) {
  std::mt19937 random(20);
  const auto below = [&random](std::size_t end) { return random() % end; };
  const ORVPropertyList other = {{L"name 1", 3}, {L"name 0", 4}};
  ImageBytes other_image;
  EncodeImage(other, other_image);
  const auto replace = [&](ORVPropertySet& set, std::size_t way) {
    if (way == 0 || way == 1) set.Clear();
    if (way == 1) set.MergeProperties(other, true, true);
    if (way == 2) set.SetAllProperties(other, true);
    if (way == 3) set.SetAllProperties(other, false);
    if (way == 4) set.SetAllPropertiesBinary(other_image);
  };
  ORVPropertySet set;
  for (int round = 0; round < 600 && !HasFailure(); ++round) {
    for (std::size_t changes = below(12); changes != 0; --changes) {
      const boost::any values[] = {boost::any(), std::string(below(40), 'x'),
                                   std::wstring(below(3), L'\u20AC'), LongValue{1}, 2.5};
      set.SetProperty((L"name " + std::to_wstring(below(round % 2 == 0 ? 2 : 30))).c_str(),
                      values[below(std::size(values))]);
    }
    replace(set, below(20));
    ExpectTrueImage(set);
  }
}

TEST(PropertySet, MergeFollowsItsFlags) {
  const ORVPropertyList news = {{L"A", 5}, {L"c", 7}};
  const std::tuple<bool, bool, std::wstring> cases[] = {
      {true, true, L"a=5 b=2 c=7"},
      {true, false, L"a=5 b=2"},
      {false, true, L"a=1 b=2 c=7"},
      {false, false, L"a=1 b=2"},
  };
  ImageBytes image;
  ASSERT_TRUE(EncodeImage(news, image));
  ORVPropertySet other;
  other.SetAllProperties(news, false);
  for (const auto& [overwrite, add, expected] : cases) {
    for (int source = 0; source < 3; ++source) {
      ORVPropertySetThreadsafe set;
      set.SetProperty(L"a", 1);
      set.SetProperty(L"b", 2);
      if (source == 0) set.MergeProperties(news, overwrite, add);
      if (source == 1) set.MergeProperties(other, overwrite, add);
      if (source == 2) set.MergePropertiesBinary(image, overwrite, add);
      EXPECT_EQ(Content(set), expected) << source;
    }
  }
}

TEST(PropertySet, SetAllPropertiesNotifiesOnlyOnRequest) {
  const ORVPropertyList list = {{L"a", 1}, {L"A", 2}};
  ORVPropertySet set;
  Listener listener;
  set.AddNotify(&listener);
  set.SetAllProperties(list, false);
  EXPECT_EQ(Content(set), L"a=1 A=2");
  EXPECT_THAT(listener.changed(), IsEmpty());
  EXPECT_TRUE(set.IsModified());

  ORVPropertySetThreadsafe source;
  source.SetAllProperties(list, false);
  set.CopyFrom(source);
  EXPECT_EQ(Content(set), L"a=2");
  EXPECT_THAT(listener.changed(), ElementsAre(L"a=1", L"a=2"));
  set.CopyFrom(set);
  EXPECT_EQ(listener.changed().size(), 2U);
  set.SetModified(false);
  set.Clear();
  EXPECT_FALSE(set.IsModified());
  EXPECT_EQ(Content(set), L"");
}

TEST(PropertySet, ListenersMayAddAndRemoveListeners) {
  ORVPropertySet set;
  Listener listeners[4];  // called in the order of their addresses
  listeners[1].on_changed = [&](ORVPropertySet& changed, const ORVPropertyEntry&) {
    for (Listener& listener : listeners) changed.RemoveNotify(&listener);
    changed.AddNotify(&listeners[3]);
  };
  set.SetProperty(L"a", 0);
  for (int i = 0; i < 3; ++i) set.AddNotify(&listeners[i]);
  set.SetProperty(L"a", 1);
  EXPECT_EQ(listeners[2].changing().size(), 1U) << "also after a listener that answered true";
  EXPECT_EQ(listeners[0].changed().size(), 1U);
  EXPECT_EQ(listeners[2].changed().size(), 0U);
  EXPECT_EQ(listeners[3].changed().size(), 1U);
}

TEST(PropertySet, ListenersMayChangeTheSet) {
  const std::pair<ORVPropertyList, std::wstring> changes[] = {
      {{}, L"a=2 "}, {{{L"before", 0}, {L"a", 1}}, L"before=0 a=2 "}};
  for (const auto& [list, expected] : changes) {
    ORVPropertySetThreadsafe set;
    set.SetProperty(L"a", 1);
    Listener listener;
    listener.on_changing = [&](ORVPropertySet& changed, const ORVPropertyEntry&) {
      changed.SetAllProperties(list, false);
    };
    listener.on_changed = [](ORVPropertySet& changed, const ORVPropertyEntry& entry) {
      if (entry.name.size() < 100) changed.SetProperty(entry.name + L"+", L"more");
    };
    set.AddNotify(&listener);
    set.SetProperty(L"a", 2);
    EXPECT_EQ(Content(set).find(expected), 0U);
    EXPECT_EQ(TextOf(set, (L"a" + std::wstring(99, L'+')).c_str()), L"more");
  }
}

TEST(PropertySetThreadsafe, MergeFromAnotherSetIsAtomic) {
  ORVPropertySet sources[2];
  for (int i = 0; i < 2; ++i)
    for (const wchar_t* name : {L"a", L"b", L"c"}) sources[i].SetProperty(name, i);
  ORVPropertySetThreadsafe set;
  set.MergeProperties(sources[0], true, true);
  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 0; i < 2000; ++i) set.MergeProperties(sources[i % 2], true, true);
    done = true;
  });
  const auto is_whole = [](const std::wstring& content) {
    return content == L"a=0 b=0 c=0" || content == L"a=1 b=1 c=1";
  };
  while (!done) {
    ImageBytes image;
    EXPECT_TRUE(set.GetAllPropertiesBinary(image));
    ORVPropertyList list;
    DecodeImage(image, ImageReading::Replace, list);
    ASSERT_TRUE(is_whole(Content(set)) && is_whole(Content(list)));
    ASSERT_NE(TextOf(set, L"c"), L"(none)");
  }
  writer.join();
}

}  // namespace
}  // namespace orv
