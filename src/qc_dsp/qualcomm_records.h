// The parameter records of the Qualcomm audio driver: filled from controls, decoded to text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "records/fields.h"

namespace orv {

enum QualcommParameter : std::uint32_t {
  kORVAPOQC_Param_Flags = 0x10005011,
  kORVAPOQC_Param_WIDHD = 0x10005012,
  kORVAPOQC_Param_MXHP = 0x10005013,
  kORVAPOQC_Param_HPF = 0x10005014,
  kORVAPOQC_Param_PEQ = 0x10005015,
  kORVAPOQC_Param_HardLimiter = 0x10005016,
};
// The order in which the driver receives them; the flags select which of the others it uses.
inline constexpr std::array kQualcommSendingOrder = {
    kORVAPOQC_Param_WIDHD,       kORVAPOQC_Param_MXHP, kORVAPOQC_Param_HPF,
    kORVAPOQC_Param_HardLimiter, kORVAPOQC_Param_PEQ,  kORVAPOQC_Param_Flags,
};

// "flags", "widening", "headphone", "high-pass", "equaliser", "hard limiter"; empty when unknown.
std::string QualcommRecordName(std::uint32_t parameter);

// The fields of a payload in their order: option bits as a whole and then control by control,
// coefficients word by word. No fields for an unknown parameter or a size that is not the record's.
std::vector<DecodedField> DecodeQualcommRecord(std::uint32_t parameter,
                                               std::span<const std::byte> payload);

// A mode's controls by display name, exact and in the order of code units. A control that is absent
// counts as 0.
using QualcommControls = std::map<std::wstring, std::int32_t, std::less<>>;

// The control without which a record is not sent; empty for the record that always is.
std::wstring_view QualcommRecordNeeds(QualcommParameter parameter) noexcept;

class QualcommRecord {
 public:
  static constexpr std::size_t kLargest = 220;  // bytes

  // The payload for these controls. Filters are designed for 48000 Hz; one that cannot be designed
  // leaves its words zero.
  QualcommRecord(QualcommParameter parameter, const QualcommControls& controls);

  std::span<const std::byte> payload() const noexcept { return {storage_.data(), size_}; }

 private:
  std::array<std::byte, kLargest> storage_{};
  std::size_t size_;
};

}  // namespace orv
