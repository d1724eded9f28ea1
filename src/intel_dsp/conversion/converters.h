// One control of an operating mode as one field of an Intel DSP's parameter block.
//
// A converter that throws leaves its field untouched. A text that is not in the table gives the
// fallback, if one is named.
#pragma once

#include <cstdint>
#include <exception>
#include <map>
#include <string>

#include "values/value_list.h"

namespace orv {

// Controls of a mode by name, exact and in byte order.
using ControlValueMap = ORVQVTValueList::Map;

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

  // Decibels in steps of 1/scale dB, as a linear value with `integer_bits` bits before the point
  // (sign included). A control "NAME Float" takes precedence and is linear itself.
  static void SetDbValue(const std::string& name, const ControlValueMap& map, std::int16_t& field,
                         float scale, int integer_bits);
  static void SetDbValue(const std::string& name, const ControlValueMap& map, std::int32_t& field,
                         float scale, int integer_bits);
  // Negative: decibels in steps of 1/scale dB; otherwise percent.
  static void SetEVolHDLevelIntensity(const std::string& name, const ControlValueMap& map,
                                      std::int32_t& field, float scale, int integer_bits);
  // Linear times 2^29, truncated.
  static void SetVocaliftProcessGain(const std::string& name, const ControlValueMap& map,
                                     std::uint32_t& field, float scale);
  static void SetPercentValue(const std::string& name, const ControlValueMap& map,
                              std::int16_t& field, int integer_bits);
  static void SetFloatValue(const std::string& name, const ControlValueMap& map, float& field,
                            float divisor);
  // Returns false and leaves the field untouched if there is no such control.
  static bool SetGainValue_Float(const std::string& name, const ControlValueMap& map,
                                 std::int16_t& field, float multiplier);
  static void SetIntegerValue(const std::string& name, const ControlValueMap& map,
                              std::int32_t& field);
  static void SetBoolField(const std::string& name, const ControlValueMap& map,
                           std::uint32_t& field);
  static void SetORV3DMode(const std::string& name, const ControlValueMap& map,
                           std::uint32_t& field);
  static void SetDPHDMode(const std::string& name, const ControlValueMap& map,
                          std::uint32_t& field);
  static void SetMXHPDecoderMode(const std::string& name, const ControlValueMap& map,
                                 std::uint32_t& field);
  static void SetAMHDSpaceHPF(const std::string& name, const ControlValueMap& map,
                              std::uint32_t& field);
  static void SetDPSizeStr(const std::string& name, const ControlValueMap& map,
                           std::uint32_t& field);
  static void SetDPSizeHz(const std::string& name, const ControlValueMap& map,
                          std::uint32_t& field);
  static void SetMainTechStr_VQ3D(const std::string& name, const ControlValueMap& map,
                                  std::uint32_t& field);
  static void SetFilterTypeStr_VQ3D(const std::string& name, const ControlValueMap& map,
                                    std::uint32_t& field);
  static void SetAMHDInputModeStr(const std::string& name, const ControlValueMap& map,
                                  std::uint32_t& field);
  // `text` is the channel configuration itself, not a control's name.
  static void SetAMHDInputMode(const std::string& text, const ControlValueMap& map,
                               std::uint32_t& field);

  using EnumTable = std::map<std::string, std::uint32_t>;
  static std::string GetControlText(const std::string& name, const ControlValueMap& map);
  static void LookupEnumValue(const std::string& name, const ControlValueMap& map,
                              const EnumTable& table, std::uint32_t& field);
};

using IntelException = KELAPOIntelDSP_Utils::IntelException;

}  // namespace orv
