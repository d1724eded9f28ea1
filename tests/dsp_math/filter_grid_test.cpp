// The scaling of cascades against extended precision, every kind of design against the data.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "dsp_math/filter_design.h"
#include "dsp_math/filter_steps.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using Wide = long double;

struct Node {
  float total = 0;
  float block = 0;
  void Count(float value) { block += std::fabs(value); }
  void EndBlock() {
    total += block;
    block = 0;
  }
};

// One section after another, a block at a time; only states, outputs and sums are single precision.
std::vector<float> Levels(const std::vector<FilterSection>& sections) {
  struct State {
    float s0 = 0, s1 = 0;
    Node nodes[3];
  };
  std::vector<State> states(sections.size());
  float last = 1;
  for (int block = 0; block < 11 || (block < 65536 && last > 1.28e-10F); ++block) {
    std::vector<float> signal(128);
    signal[0] = block == 0 ? 1.0F : 0.0F;
    for (std::size_t i = 0; i < sections.size(); ++i) {
      const FilterSection& f = sections[i];
      auto& [s0, s1, nodes] = states[i];
      for (float& sample : signal) {
        const Wide x = sample;
        sample = float(f.b0 * x + s0);
        s0 = float(f.b1 * x + f.a1 * Wide(sample) + s1);
        s1 = float(f.b2 * x + f.a2 * Wide(sample));
        nodes[0].Count(sample);
        nodes[1].Count(s0);
        nodes[2].Count(s1);
      }
      last = nodes[0].block;
      for (Node& node : nodes) node.EndBlock();
    }
  }
  std::vector<float> levels;
  for (const State& state : states) {
    levels.push_back(std::max({state.nodes[0].total, state.nodes[1].total, state.nodes[2].total}));
  }
  return levels;
}

TEST(FilterGrid, CascadesOfEveryLengthAreScaledLikeTheReference) {
  std::vector<FilterSection> designed;
  for (int i = 0; i < 26; ++i) {
    const float position = static_cast<float>(i * 11 % 24);
    DesignBand({i * 7 % 10, 40 + 900 * position, 0.4F + 0.2F * position,
                static_cast<float>(i % 5) - 2, i % 3},
               48000, designed.emplace_back());
    const std::vector<float> levels = Levels(designed);
    auto scaled = designed;
    std::vector<char> workspace(FilterWorkspace(scaled.size()));
    float* storage = reinterpret_cast<float*>(workspace.data());
    EXPECT_EQ(ScaleSectionsL1(scaled.data(), scaled.size(), storage), levels.back());
    float before = 1;
    for (std::size_t n = 0; n < scaled.size(); ++n) {
      const float ratio = levels[n] / before;
      before = levels[n];
      EXPECT_EQ(scaled[n].b0, designed[n].b0 / ratio) << scaled.size() << " bands";
      EXPECT_EQ(scaled[n].b1, designed[n].b1 / ratio);
      EXPECT_EQ(scaled[n].b2, designed[n].b2 / ratio);
    }
  }
}

TEST(FilterGrid, DesignsAreThoseOfTheReferenceData) {
  constexpr std::int16_t kUntouched = 0x5A5A;
  constexpr std::size_t kMost = 80;
  const nlohmann::json& data = ReferenceData("filters.json");
  for (const auto& row : data.at("cases")) {
    SCOPED_TRACE(row.dump().substr(0, 120));
    const std::string design = row.at("design");
    const std::int32_t rate = row.at("sample_rate");
    std::vector<FilterBand> bands;
    for (const auto& band : row.value("bands", nlohmann::json::array()))
      bands.push_back({band[0], band[1], band[2], band[3], band[4]});
    std::vector<char> workspace(FilterWorkspace(kMost / 6));
    std::vector<std::int32_t> words(kMost, kUntouched);
    std::vector<std::int16_t> narrow(kMost, kUntouched);
    const auto butterworth = [&](auto function, auto& result) {
      return function(row.at("frequency"), row.at("order"), rate, row.at("kind") == "highpass",
                      result.data(), workspace.data());
    };
    const FilterSet set = {static_cast<std::int32_t>(bands.size()), bands.data(), rate};
    EXPECT_EQ(design == "butterworth16"   ? butterworth(DesignButterworth16, narrow)
              : design == "butterworth32" ? butterworth(DesignButterworth32, words)
              : design == "filter_set"
                  ? DesignFilterSet(set, words.data(), workspace.data())
                  : DesignBassEnhancementFilters(row.at("audio"), row.at("analysis"), rate,
                                                 words.data(), workspace.data()),
              row.at("status"));
    if (design == "butterworth16") words.assign(narrow.begin(), narrow.end());
    auto expected = row.value("words", std::vector<std::int32_t>());
    expected.resize(kMost, kUntouched);
    std::vector<std::int64_t> tolerances(kMost);
    for (std::size_t i = 0; row.contains("words") && i < row.at("words").size(); ++i) {
      const auto tolerance = row.value("tol_lsb", nlohmann::json(0));
      tolerances[i] = tolerance.is_array() ? tolerance[i] : tolerance;
    }
    for (const std::size_t i : row.value("open", std::vector<std::size_t>()))
      tolerances[i] = std::numeric_limits<std::int32_t>::max();
    for (std::size_t i = 0; i < kMost; ++i)
      EXPECT_LE(std::abs(std::int64_t{words[i]} - expected[i]), tolerances[i]) << "word " << i;
  }
}

}  // namespace
}  // namespace orv
