// Controls of an operating mode as numbers of an Intel DSP's parameter blocks.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "records/fields.h"
#include "values/value_list.h"

namespace orv {

// Controls of a mode by name, exact and in byte order.
using ControlValueMap = ORVQVTValueList::Map;

inline constexpr float kTenthsOfDecibel = 10.0F;

class KELAPOIntelDSP_Utils {
 public:
  // Why a control could not be converted: "control - message".
  class IntelException : public std::exception {
   public:
    IntelException(const std::string& control, const std::string& message)
        : control_(control), text_(control + " - " + message) {}
    const char* what() const noexcept override { return text_.c_str(); }
    const std::string& control() const noexcept { return control_; }

   private:
    std::string control_;
    std::string text_;
  };

  // A control by its name, which the map may lack.
  struct Control {
    std::string name;
    const ControlValueMap& map;

    const ORVQVTValue* Find() const;  // null if the map lacks it
    // Throw IntelException, with this message, if the map lacks it.
    const ORVQVTValue& Require(const char* message) const;
    std::string Text(const char* message = "Can't find control in value map.") const;
  };
  using Number = std::int64_t;

  // Converters. One that throws IntelException leaves the number untouched.

  // Decibels in steps of 1/scale dB, as a linear value in a word of so many bits, `integer_bits` of
  // them before the point (sign included). A control "NAME Float" takes precedence and is linear
  // itself.
  static void SetDbValue(const Control& control, Number& field, int bits, int integer_bits,
                         float scale = kTenthsOfDecibel);
  // Negative: decibels in steps of 1/scale dB; otherwise percent.
  static void SetEVolHDLevelIntensity(const Control& control, Number& field, int integer_bits);
  // Linear times 2^29, truncated.
  static void SetVocaliftProcessGain(const Control& control, Number& field);
  static void SetPercentValue(const Control& control, Number& field, int integer_bits);
  // The whole number divided by the divisor, in single precision.
  static void SetFloatValue(const Control& control, float& field, float divisor);
  // Returns false and leaves the number untouched if there is no such control.
  static bool SetGainValue_Float(const Control& control, Number& field, float multiplier);
  static void SetIntegerValue(const Control& control, Number& field);
  static void SetBoolField(const Control& control, Number& field);
  // Codes of the enumeration tables. A text that is not in its table is taken as a number, or
  // leaves the number untouched, or means the custom code.
  static void SetORV3DMode(const Control& control, Number& field);
  static void SetDPHDMode(const Control& control, Number& field);
  static void SetMXHPDecoderMode(const Control& control, Number& field);
  static void SetAMHDSpaceHPF(const Control& control, Number& field);
  static void SetDPSizeStr(const Control& control, Number& field);
  static void SetMainTechStr_VQ3D(const Control& control, Number& field);
  static void SetFilterTypeStr_VQ3D(const Control& control, Number& field);
  // A short text is the index of the channel configuration.
  static void SetAMHDInputModeStr(const Control& control, Number& field);
};

using IntelException = KELAPOIntelDSP_Utils::IntelException;

// The fields of the Intel modules' tables in broadwell/ and skylake/.
namespace intel {

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

}  // namespace intel

}  // namespace orv
