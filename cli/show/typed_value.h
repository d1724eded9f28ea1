// Values as a user types them: "-3.5 dB", "25%", "2 kHz", "+=3dB", "on", "toggle", a choice.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orv_apo/orv_apo.h"

namespace orv::cli {

// What the values of a control look like.
struct ValueForm {
  std::string name;       // of the control, for messages
  std::string unit = {};  // "dB", "%", "Hz", "ms"; empty if the control has none
  std::int32_t steps_per_unit = 1;
  std::vector<std::string> choices = {};
  std::optional<std::int32_t> current = {};  // where "+=", "-=" and "toggle" start
};

// The form that follows from a control's scale (`factor`: steps to one unit), its largest value and
// its name: frequencies are in Hz, levels up to 100 in percent.
ValueForm FormOf(const std::string& name, ORV_QVT_SCALE scale, float factor, std::int32_t maximum,
                 const std::vector<std::string>& choices);

// The stored number that the text means: a choice in any letter case or its position, on, off
// or toggle for a pair of choices, a number with or without the control's unit, and a step from the
// current number after "+=" or "-=". A number without unit and decimals is refused if the control
// counts in parts of a unit, because it has two readings. Throws a usage failure that names what is
// expected. Ranges are not checked.
std::int32_t ReadTypedValue(const ValueForm& form, std::string_view text);

// The same for a number that is given as it is stored: whole, without unit.
std::int32_t ReadRawValue(const ValueForm& form, std::string_view text);

// The number as a quantity with its unit: "-3.5 dB", "0.80", "200 Hz".
std::string QuantityText(std::int64_t number, const ValueForm& form);
// The choice at this position, or the number as a quantity.
std::string ValueText(std::int64_t number, const ValueForm& form);

}  // namespace orv::cli
