// Numbers in words: a control's integer, frequencies, fixed-point notation.
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

// Fixed-point notation with so many decimals, never "-0.0".
std::string Decimals(double number, int decimals);
// "63 Hz", "1.25 kHz".
std::string HertzText(double frequency);

}  // namespace orv::cli
