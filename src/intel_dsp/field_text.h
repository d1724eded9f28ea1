// Numbers of parameter blocks as people read them. Independent of the locale.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "intel_dsp/conversion/enumeration_tables.h"

namespace orv {

// With so many decimals, never "-0".
std::string DecimalText(double value, int decimals);
// Seven digits.
std::string RealText(double value);
std::string OnOffText(std::int64_t value);
// A linear gain: "-6.0 dB", "-inf dB"; "linear -0.5" for a negative one.
std::string DecibelText(double linear);
// "50 %", "12.5 %".
std::string PercentText(double fraction);
// A code as an index into frequencies in Hz, or the custom one: "150 Hz", "custom".
std::string FrequencyCodeText(std::int64_t code, std::span<const int> frequencies);
// The first of the names with this prefix that stand for a code.
std::string ChoiceText(std::int64_t code, const EnumTable& names, const std::string& prefix);

}  // namespace orv
