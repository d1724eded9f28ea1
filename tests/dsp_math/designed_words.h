// Words of a design, in storage of exactly the size that it asks for.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "dsp_math/filter_design.h"

namespace orv {

inline constexpr std::int32_t kRate = 48000;

inline std::vector<std::int32_t> BandWords(const std::vector<FilterBand>& bands) {
  std::vector<std::int32_t> words(FilterWords(bands.size()));
  std::vector<char> workspace(FilterWorkspace(bands.size()));
  const FilterSet set{static_cast<std::int32_t>(bands.size()), bands.data(), kRate};
  EXPECT_EQ(DesignFilterSet(set, words.data(), workspace.data()), kFilterOk);
  return words;
}

}  // namespace orv
