// Designs of bands written down once more, plainly and in extended precision, to compare words
// with.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp_math/filter_design.h"

namespace orv::reference {

struct Section {
  float b0, b1, b2, a1, a2;
};

Section Band(const FilterBand& band, int rate);

// Scales, quantises and lays out the words of a design.
std::vector<std::int64_t> Words(std::vector<Section> sections, int bits);

}  // namespace orv::reference
