// Numbers in words: scales, frequencies, fixed-point notation.
#pragma once

#include <string>

#include "orv_apo/orv_apo.h"

namespace orv::cli {

// "none", "enum", "by100", "db", "custom", "string", "unknown".
const char* ScaleWord(ORV_QVT_SCALE scale);

// Fixed-point notation with so many decimals, never "-0.0".
std::string Decimals(double number, int decimals);
// "63 Hz", "1.25 kHz".
std::string HertzText(double frequency);

}  // namespace orv::cli
