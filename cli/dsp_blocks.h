// Parameter blocks of the DSP drivers as people compare them: block by block, field by field.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/simulated/driver_record.h"
#include "values/record_layout.h"

namespace orv::cli {

struct DspBlock {
  std::string driver;  // "skylake", "broadwell" or "qualcomm"
  std::uint32_t parameter = 0;
  std::vector<std::byte> bytes;

  bool operator==(const DspBlock&) const = default;
};

inline DspBlock BlockOf(const DriverRecord& record) {
  return {record.driver, record.parameter, record.bytes};
}

std::string BlockName(const DspBlock& block);
// No fields for a block whose layout is not known.
std::vector<DecodedField> DecodeBlock(const DspBlock& block);

// Controls bear the name of their suite ("VQ3D-DC Level"); coefficients, reserved and fixed numbers
// do not.
bool IsControl(const DecodedField& field);

struct DspDifference {
  std::string block;
  std::string control;  // or what the field is; "byte N" of a block without known fields
  std::int64_t sent = 0;
  std::int64_t read = 0;
  std::string sent_text;  // in the control's own unit
  std::string read_text;
  std::string error;  // read less sent, in that unit; empty where there is none
};

// Field by field; empty when the blocks are equal. `read` may be shorter, what it lacks differs.
std::vector<DspDifference> CompareBlocks(const DspBlock& sent, const DspBlock& read);

// What lies between two quantities of the same unit, "+2.5 dB"; empty when they are none.
std::string ErrorText(const std::string& sent, const std::string& read);

}  // namespace orv::cli
