// The designs of the filter commands: words as the DSP receives them, beside the filters before
// quantising.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/offline/response_plot.h"
#include "dsp_math/cascade_response.h"
#include "dsp_math/filter_design.h"

namespace orv::cli {

struct FilterArguments {
  float frequency = 0;  // Hz
  std::int32_t order = 0;
  std::string kind = "highpass";
  int bits = 32;
  std::vector<std::string> bands;  // type,frequency,q,gain_db[,invert]
  float audio = 0;                 // loudspeaker sizes in Hz
  float analysis = 0;
  std::int32_t rate = 48000;  // Hz
  bool response = false;
  std::string svg;
};

// A filter before and after quantising.
struct QuantisedFilter {
  std::string name;  // empty if the design has only one
  Cascade ideal;
  Cascade fixed;
};

struct FilterDesign {
  std::int32_t status = kFilterOk;
  std::string title;
  std::vector<std::string> details;  // lines under the title of a drawing
  std::string refusal;               // why, if the status is a refusal
  std::vector<std::int32_t> words;
  std::vector<QuantisedFilter> filters;
  std::vector<ResponseMark> marks;  // its bands and corners
  int words_in_row = 6;
};

FilterDesign DesignButterworth(const FilterArguments& arguments);
// A band that cannot be read is a usage failure.
FilterDesign DesignBands(const FilterArguments& arguments);
FilterDesign DesignBass(const FilterArguments& arguments);

// A cascade of these bands before quantising; nullopt if a frequency is refused.
std::optional<Cascade> IdealBands(const std::vector<FilterBand>& bands, std::int32_t rate);
// The names of the bass-enhancement filters, and what they are in the words of the design: three of
// a size each (16 words), then the all-pass (24 words).
std::vector<std::string> BassFilterNames();
std::vector<Cascade> BassFilters(const std::vector<std::int32_t>& words);

}  // namespace orv::cli
