// Word sets in the field, at the parameters they were designed with.
#include <array>

#include "designed_words.h"

namespace orv {
namespace {

TEST(FilterPresets, HighPassesAt60And360Hz) {
  EXPECT_EQ(ButterworthWords<std::int16_t>(60, 4),
            (std::vector<std::int16_t>{2, 5393, -10786, 5393, 32669, -16286,    //
                                       2, 15463, -30926, 15463, 32531, -16148,  //
                                       3, 26101}));
  EXPECT_EQ(ButterworthWords<std::int32_t>(360, 2),
            (std::vector<std::int32_t>{2, 438374880, -876749760, 438374880, 2075951104, -1004516480,
                                       3, 1271898880}));
}

TEST(FilterPresets, FourBandEqualizer) {
  EXPECT_EQ(BandWords({{kORVFilter_Traditional, 50, 3, -12, 0},
                       {kORVFilter_Traditional, 500, 2, 20, 0},
                       {kORVFilter_Traditional, 5000, 2, 6, 0},
                       {kORVFilter_Traditional, 15000, 4, -12, 0}}),
            (std::vector<std::int32_t>{
                2, 544458944,  -1088103296, 543667648,  2141238528, -1067542528,  //
                2, 182296304,  -328028256,  146435776,  2119761792, -1050568256,  //
                2, 1174676608, -1529619712, 753366848,  1535543936, -861768896,   //
                1, 1510237824, 992091072,   1082221184, -991754688, -444096256,   //
                5, 1712821632}));
}

TEST(FilterPresets, BassEnhancementOf185And165Hz) {
  std::array<std::int32_t, kBassEnhancementWords> words{};
  std::vector<char> workspace(FilterWorkspace(1));
  ASSERT_EQ(DesignBassEnhancementFilters(185, 165, kRate, words.data(), workspace.data()),
            kFilterOk);
  const std::array<std::int32_t, kBassEnhancementWords> expected{
      25751478,    2095980672,  -4661823,   2134411776,  -1061308544, -33733708,
      2112158976,  -1040315072, 22997346,   2101488896,  -4160442,    2135879296,
      -1062645696, -30138042,   2116107520, -1043878016, 2,           288205472,
      -595477888,  308678496,   2071376896, -1002526144, 3,           1867511808};
  EXPECT_EQ(words, expected);
}

}  // namespace
}  // namespace orv
