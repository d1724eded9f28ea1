#include "dsp_math/filter_design.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "dsp_math/cascade_response.h"
#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr std::int32_t kRate = 48000;
constexpr std::int32_t kPoison = 0x5A5A5A5A;

// Storage of exactly the promised size at an odd address, between guards.
class GuardedWorkspace {
 public:
  explicit GuardedWorkspace(std::size_t sections)
      : bytes_(kGuard + FilterWorkspace(sections) + kGuard, kFill) {}
  ~GuardedWorkspace() {
    EXPECT_EQ(std::count(bytes_.begin(), bytes_.begin() + kGuard, kFill), kGuard);
    EXPECT_EQ(std::count(bytes_.end() - kGuard, bytes_.end(), kFill), kGuard);
  }
  void* data() { return bytes_.data() + kGuard; }

 private:
  static constexpr std::ptrdiff_t kGuard = 33;
  static constexpr char kFill = 0x33;
  std::vector<char> bytes_;
};

std::vector<std::int32_t> Design(const std::vector<FilterBand>& bands, std::int32_t status = 0) {
  std::vector<std::int32_t> words(FilterWords(bands.size()) + 1, kPoison);
  GuardedWorkspace workspace(bands.size());
  const FilterSet set{static_cast<std::int32_t>(bands.size()), bands.data(), kRate};
  EXPECT_EQ(DesignFilterSet(set, words.data(), workspace.data()), status);
  EXPECT_EQ(words.back(), kPoison);
  words.pop_back();
  return words;
}

TEST(FilterDesign, UnknownKindsAreRefusedAndAnUnknownTypeKeepsItsSection) {
  std::vector<std::int32_t> words(14, kPoison);
  GuardedWorkspace workspace(2);
  const auto design = [&](float frequency, std::int32_t kind, std::int32_t rate) {
    return DesignButterworth32(frequency, 4, rate, kind, words.data(), workspace.data());
  };
  const std::tuple<float, std::int32_t, std::int32_t> refused[] = {
      {22050, 1, 44101}, {100, 1, 0}, {100, 2, kRate}, {100, -1, kRate}};
  for (const auto& arguments : refused) EXPECT_EQ(std::apply(design, arguments), kFilterRefused);
  EXPECT_EQ(words, std::vector<std::int32_t>(14, kPoison));
  EXPECT_EQ(design(23999.998F, kButterworthHighPass, kRate), kFilterOk);
  FilterSection section{1, 2, 3, 4, 5};
  DesignBand({10, 1000, 1, 0, 1}, kRate, section);
  EXPECT_EQ(section.b0, 1);
  EXPECT_EQ(section.a2, 5);
}

TEST(FilterDesign, HeadroomLeavesABitForTheSign) {
  const std::pair<float, std::int32_t> cases[] = {
      {0.0F, 0}, {1e-42F, 0}, {0.49999997F, 0}, {0.5F, 1}, {0.9999F, 1},
      {1.0F, 2}, {1.5F, 2},   {7.9999995F, 4},  {8.0F, 5}, {32.0F, 7}};
  for (const auto& [value, bits] : cases) EXPECT_EQ(HeadroomBits(value), bits) << value;
}

TEST(FilterDesign, WithoutSectionsOnlyTheGainIsWritten) {
  for (const std::int32_t order : {0, -1, -7, std::numeric_limits<std::int32_t>::min()}) {
    std::vector<std::int32_t> words(3, kPoison);
    GuardedWorkspace workspace(0);
    EXPECT_EQ(DesignButterworth32(100, order, kRate, 1, words.data(), workspace.data()), kFilterOk);
    EXPECT_EQ(words, (std::vector<std::int32_t>{2, 1073741824, kPoison}));
  }
  EXPECT_EQ(Design({}), (std::vector<std::int32_t>{2, 1073741824}));
}

TEST(FilterDesign, DesignsThatNeverDecayEnd) {
  constexpr float kInfinite = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  for (const FilterBand& band : std::vector<FilterBand>{
           {kORVFilter_Peaking, 1000, -2, 6, 0},      // poles outside the unit circle
           {kORVFilter_Peaking, 1000, -20000, 6, 0},  // just outside
           {kORVFilter_LowPass, 1000, 1, 3e8F, 0},    // on it
           {kORVFilter_Peaking, -500, 1, 6, 0},
           {kORVFilter_Peaking, 1000, 0, 6, 0},
           {kORVFilter_LowShelf, 1000, -1, kInfinite, 0},
           {kORVFilter_Traditional, 1000, kNaN, 6, 0},
           {kORVFilter_Traditional, kNaN, 1, 6, 0},
           {kORVFilter_BandPass, 1000, 1, -kInfinite, 0}}) {
    const FilterBand good{kORVFilter_Peaking, 100, 1, 6, 0};
    for (const auto& words : {Design({band}), Design({good, band, good})}) {
      EXPECT_EQ(std::count(words.begin(), words.end(), kPoison), 0);
    }
  }
  // At a pole radius of 1.0000125 the sums grow for minutes: the bound ends the run, not an
  // overflow, and the sums reached so far are kept.
  const auto words = Design({{kORVFilter_Peaking, 1000, -200000, 6, 0}});
  EXPECT_GT(words[7], 0);
  EXPECT_FALSE(Cascade::FromWords(words.data(), 1).Stable());
}

}  // namespace
}  // namespace orv
