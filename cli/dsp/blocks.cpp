#include "cli/dsp/blocks.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "cli/show/output.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/skylake/parameter_blocks.h"
#include "platform/driver_names.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv::cli {
namespace {

struct Quantity {
  double number = 0;
  std::string unit;  // with the blank before it
};

std::optional<Quantity> QuantityOf(const std::string& text) {
  if (text.empty() || text.starts_with("0x")) return std::nullopt;
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  const std::string unit = end;
  if (end == text.c_str() || !std::isfinite(number) || (!unit.empty() && unit[0] != ' '))
    return std::nullopt;
  return Quantity{number, unit};
}

// Blocks of one size.
std::vector<DspDifference> CompareBytes(const DspBlock& sent, const DspBlock& read) {
  std::vector<DspDifference> differences;
  for (std::size_t i = 0; i < sent.bytes.size(); ++i) {
    const auto a = std::to_integer<std::int64_t>(sent.bytes[i]);
    const auto b = std::to_integer<std::int64_t>(read.bytes[i]);
    if (a == b) continue;
    differences.push_back({BlockName(sent), "byte " + std::to_string(i), a, b, std::to_string(a),
                           std::to_string(b), "", ""});
  }
  return differences;
}

std::string HexNumber(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", number);
  return text;
}

}  // namespace

const DspBlock* FindBlock(const std::vector<DspBlock>& blocks, std::uint32_t parameter) {
  const auto found = std::ranges::find(blocks, parameter, &DspBlock::parameter);
  return found != blocks.end() ? &*found : nullptr;
}

std::string BlockName(const DspBlock& block) {
  std::string name;
  if (block.driver == kSkylakeDriver) name = SkylakeBlockName(block.parameter);
  if (block.driver == kBroadwellDriver) name = BroadwellBlockName(block.parameter);
  if (block.driver == kQualcommDriver) name = QualcommRecordName(block.parameter);
  return name.empty() ? "parameter " + HexNumber(block.parameter) : name;
}

std::vector<DecodedField> DecodeBlock(const DspBlock& block) {
  if (block.driver == kSkylakeDriver) return DecodeSkylakeBlock(block.parameter, block.bytes);
  if (block.driver == kBroadwellDriver) return DecodeBroadwellBlock(block.parameter, block.bytes);
  if (block.driver == kQualcommDriver) return DecodeQualcommRecord(block.parameter, block.bytes);
  return {};
}

bool IsControl(const DecodedField& field) {
  const std::string suite = field.control.substr(0, field.control.find(' '));
  return suite.find('-') != std::string::npos &&
         std::isupper(static_cast<unsigned char>(suite.front())) != 0;
}

Table FieldTable() {
  return Table({{"OFFSET", Align::Right}, {"CONTROL"}, {"VALUE", Align::Right}, {"MEANS"}});
}

void AddField(Table& table, const DecodedField& field, bool accented) {
  table.Add({std::to_string(field.offset), field.control, std::to_string(field.value),
             Cell(field.text, accented ? ansi::kAccent : nullptr)});
}

std::string ErrorText(const std::string& sent, const std::string& read) {
  const auto from = QuantityOf(sent);
  const auto to = QuantityOf(read);
  if (!from || !to || from->unit != to->unit) return {};
  char number[48];
  std::snprintf(number, sizeof number, "%+.6g", to->number - from->number);
  return number + from->unit;
}

DspDifference WholeBlock(const DspBlock& block, const std::string& reason) {
  DspDifference difference;
  difference.block = BlockName(block);
  difference.control = "the whole block";
  difference.reason = reason;
  return difference;
}

std::vector<DspDifference> CompareBlocks(const DspBlock& sent, const DspBlock& read) {
  if (sent.bytes == read.bytes) return {};
  if (sent.bytes.size() != read.bytes.size())
    return {WholeBlock(sent, std::to_string(read.bytes.size()) + " bytes instead of " +
                                 std::to_string(sent.bytes.size()))};
  const std::vector<DecodedField> before = DecodeBlock(sent);
  const std::vector<DecodedField> after = DecodeBlock(read);
  std::vector<DspDifference> differences;
  // Both walk the same rows.
  for (std::size_t i = 0; before.size() == after.size() && i < before.size(); ++i) {
    const DecodedField& a = before[i];
    const DecodedField& b = after[i];
    if (a.control != b.control) return CompareBytes(sent, read);
    if (a.value == b.value) continue;
    if (a.text == b.text) {
      const auto raw = [](const DecodedField& field) {
        return field.text + " (" + std::to_string(field.value) + ")";
      };
      differences.push_back({BlockName(sent), a.control, a.value, b.value, raw(a), raw(b), "", ""});
      continue;
    }
    differences.push_back({BlockName(sent), a.control, a.value, b.value, a.text, b.text,
                           ErrorText(a.text, b.text), ""});
  }
  return differences.empty() ? CompareBytes(sent, read) : differences;
}

}  // namespace orv::cli
