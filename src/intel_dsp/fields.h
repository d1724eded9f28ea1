// Fields of the Intel modules' parameter blocks, filled from controls and decoded to text. The
// tables are in broadwell/ and skylake/.
#pragma once

#include "intel_dsp/conversion/converters.h"
#include "records/fields.h"

namespace orv::intel {

// The control as a whole number; throws IntelException if the map lacks it.
std::int32_t IntegerOf(const std::string& control, const ControlValueMap& map);

// Whether the map has a control that fills the field.
bool HasControl(const records::Field& field, const ControlValueMap& map);
// Fills one field; throws IntelException, the field untouched, if its control does not allow it.
// Conversions that only the Skylake module has leave the field untouched.
void FillField(const records::Field& field, const ControlValueMap& map, std::span<std::byte> block);

// The fields of a block as text, in their order.
std::vector<DecodedField> DecodeFields(std::span<const records::Field> fields,
                                       std::span<const std::byte> block);

}  // namespace orv::intel
