#include "config/operating_mode.h"

#include <gmock/gmock.h>

#include "config/control_lists.h"

namespace orv {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(ModeKey, IsValidWhenBothTextsDifferFromTheirDefaults) {
  ORVAPOModeKey key = Key("Movie", "Internal");
  for (const auto& other : {ORVAPOModeKey(), Key("Movie", kDisabledSpeakerType),
                            Key(kUndefinedOperatingMode, "Internal")})
    EXPECT_FALSE(other.IsValid() || key.Equals(other));
  EXPECT_TRUE(key.IsValid());
  EXPECT_TRUE(key.Equals(Key("Movie", "Internal")));
  EXPECT_FALSE(key.Equals(Key("movie", "Internal")));
  EXPECT_FALSE(key.ReadFrom(ListOf({{kOperatingModeControl, "Music"}})));
  EXPECT_EQ(key.GetModeName(), L"ApoOpMode:Music/ZAPO3-Disabled");
}

TEST(OperatingMode, CompletingTakesTheKeyOutAndUnitesTheDefaults) {
  ORVAPOOperatingMode mode;
  mode.public_controls() = ListOf({{"A", "1"}, {"B", "2"}});
  mode.private_controls() = ListOf({{"B", "3"},
                                    {"C", "4"},
                                    {kOperatingModeControl, "Movie"},
                                    {kSpeakerTypeControl, "Internal"}});
  ASSERT_TRUE(mode.CompleteRead());
  EXPECT_TRUE(mode.GetModeKey().Equals(Key("Movie", "Internal")));
  EXPECT_THAT(Texts(mode.GetPublicControls()), ElementsAre(Pair("A", "1"), Pair("B", "2")));
  EXPECT_THAT(Texts(mode.GetPrivateControls()), ElementsAre(Pair("B", "3"), Pair("C", "4")));
  EXPECT_THAT(Texts(mode.GetDefaultControls()),
              ElementsAre(Pair("A", "1"), Pair("B", "3"), Pair("C", "4")));
}

TEST(OperatingMode, DeferredContentIsReadOnceForAllCopies) {
  int readings = 0;
  const ORVAPOOperatingMode mode(Key("Movie", "Internal"), true, [&](ORVAPOModeContent& content) {
    if (++readings == 1) throw std::bad_alloc();
    content.public_controls = ListOf({{"A", "1"}});
  });
  ORVAPOOperatingMode copy = mode;
  EXPECT_THROW(mode.GetPublicControls(), std::bad_alloc);
  EXPECT_EQ(mode.GetDefaultControls().Count(), 1U);
  copy.public_controls().Clear();
  EXPECT_EQ(copy.GetPublicControls().Count(), 0U);
  EXPECT_EQ(mode.GetPublicControls().Count(), 1U);
  EXPECT_EQ(readings, 2);
}

ORVAPOChain Chain(std::uint32_t input, std::uint32_t output, bool render, const char* technology) {
  ORVAPOChain chain;
  chain.input_layouts = input;
  chain.output_layouts = output;
  chain.render = render;
  chain.processes.push_back({technology, "", ""});
  return chain;
}

TEST(ChainDefinition, FirstChainSharingBothLayoutsAndTheDirectionIsFound) {
  ORVAPOChainDefinition chains;
  chains.Add(Chain(kLayoutStereo, kLayoutStereo, false, "capture"));
  chains.Add(Chain(kLayoutMono, kAnyLayout, true, "mono"));
  chains.Add(Chain(kLayoutStereo, kLayoutStereo | kLayout51, true, "first"));
  chains.Add(Chain(kAnyLayout, kAnyLayout, true, "second"));
  ORVAPOChain found;
  const std::tuple<std::uint32_t, bool, const char*> searches[] = {
      {kLayoutStereo, true, "first"},
      {kLayoutStereo, false, "capture"},
      {kLayout71, true, "second"}};
  for (const auto& [layout, render, technology] : searches) {
    ASSERT_TRUE(chains.FindChain(layout, layout, found, render));
    EXPECT_EQ(found.processes.at(0).technology, technology);
  }
  for (const std::uint32_t unusable : {0U, kAnyLayout}) {
    EXPECT_FALSE(chains.FindChain(unusable, kLayoutStereo, found, true));
    EXPECT_FALSE(chains.FindChain(kLayoutStereo, unusable, found, true));
  }
  EXPECT_FALSE(chains.FindChain(kLayout71, kLayoutStereo, found, false));
  EXPECT_EQ(found.processes.at(0).technology, "second");
}

}  // namespace
}  // namespace orv
