// Parameter blocks of the DSP drivers, decoded and compared field by field.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/show/table.h"
#include "records/fields.h"
#include "simulated/drivers/block_format.h"  // ParameterText
#include "simulated/drivers/driver_memory.h"

namespace orv::cli {

struct DspBlock {
  std::string driver;  // "skylake", "broadwell" or "qualcomm"
  std::uint32_t parameter = 0;
  std::vector<std::byte> bytes;
  std::uint32_t selector = 0;  // apply flag; form factor of a Qualcomm record

  bool operator==(const DspBlock&) const = default;
};

inline DspBlock BlockOf(const DriverRecord& record) {
  return {record.driver, record.parameter, record.bytes, record.selector};
}

// Null if there is none of the parameter.
const DspBlock* FindBlock(const std::vector<DspBlock>& blocks, std::uint32_t parameter);

std::string BlockName(const DspBlock& block);
// No fields for a block whose layout is not known.
std::vector<DecodedField> DecodeBlock(const DspBlock& block);

// Controls bear the name of their suite ("VQ3D-DC Level"); coefficients, reserved and fixed numbers
// do not.
bool IsControl(const DecodedField& field);

// A table of a block's fields.
Table FieldTable();
void AddField(Table& table, const DecodedField& field, bool accented);

struct DspDifference {
  std::string block;
  std::string control;  // or what the field is; "byte N" of a block without known fields
  // The field's numbers; nullopt if it has none.
  std::optional<std::int64_t> sent;
  std::optional<std::int64_t> read;
  std::string sent_text;  // in the control's own unit
  std::string read_text;
  std::string error;   // read less sent, in that unit; may be empty
  std::string reason;  // why a whole block is not in the DSP; empty for a field
};

// Compares field by field; empty if the blocks are equal. Different sizes are one difference.
std::vector<DspDifference> CompareBlocks(const DspBlock& sent, const DspBlock& read);

// A number of a block that has no unit.
DspDifference NumbersDiffer(const DspBlock& block, const std::string& control, std::int64_t sent,
                            std::int64_t read);
// A block that is not in the DSP, with the reason.
DspDifference WholeBlock(const DspBlock& block, const std::string& reason);

}  // namespace orv::cli
