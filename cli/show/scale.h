// A control's integer in words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"

namespace orv::cli {

// "none", "enum", "by100", "db", "custom", "string", "unknown".
const char* ScaleWord(ORV_QVT_SCALE scale);

// The number as a quantity: "-12.50" for hundredths, "-6.0 dB" for decibel steps of a tenth
// (`factor`: steps to one unit), else plain.
std::string NumberText(std::int32_t value, ORV_QVT_SCALE scale, float factor);

// The choice at this position, or the number's text.
std::string ValueText(std::int32_t value, ORV_QVT_SCALE scale, float factor,
                      const std::vector<std::string>& choices);

}  // namespace orv::cli
