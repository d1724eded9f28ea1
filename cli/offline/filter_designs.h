// The designs of the filter commands: words as the DSP receives them, beside the filters before
// quantising.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
  int words_in_row = 6;
};

FilterDesign DesignButterworth(const FilterArguments& arguments);
// A band that cannot be read is a usage failure.
FilterDesign DesignBands(const FilterArguments& arguments);
FilterDesign DesignBass(const FilterArguments& arguments);

}  // namespace orv::cli
