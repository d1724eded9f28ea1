#include "cli/dsp/blocks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "cli/show/output.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/skylake/writers.h"
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

// The difference of two quantities of the same unit, "+2.5 dB"; empty for other texts.
std::string ErrorText(const std::string& sent, const std::string& read) {
  const auto from = QuantityOf(sent);
  const auto to = QuantityOf(read);
  if (!from || !to || from->unit != to->unit) return {};
  return fmt::format("{:+.6g}{}", to->number - from->number, from->unit);
}

// Blocks of one size.
std::vector<DspDifference> CompareBytes(const DspBlock& sent, const DspBlock& read) {
  std::vector<DspDifference> differences;
  for (std::size_t i = 0; i < sent.bytes.size(); ++i) {
    if (sent.bytes[i] != read.bytes[i])
      differences.push_back(NumbersDiffer(sent, fmt::format("byte {}", i),
                                          std::to_integer<std::int64_t>(sent.bytes[i]),
                                          std::to_integer<std::int64_t>(read.bytes[i])));
  }
  return differences;
}

DspDifference CompareFields(const DspBlock& block, const DecodedField& sent,
                            const DecodedField& read) {
  DspDifference difference = NumbersDiffer(block, sent.control, sent.value, read.value);
  if (sent.text == read.text) {
    difference.sent_text = fmt::format("{} ({})", sent.text, sent.value);
    difference.read_text = fmt::format("{} ({})", read.text, read.value);
  } else {
    difference.sent_text = sent.text;
    difference.read_text = read.text;
    difference.error = ErrorText(sent.text, read.text);
  }
  return difference;
}

}  // namespace

const DspBlock* FindBlock(const std::vector<DspBlock>& blocks, std::uint32_t parameter) {
  const auto found = std::ranges::find(blocks, parameter, &DspBlock::parameter);
  return found != blocks.end() ? &*found : nullptr;
}

std::string BlockName(const DspBlock& block) {
  std::string name;
  if (block.driver == kSkylakeDriver) name = skylake::BlockName(block.parameter);
  if (block.driver == kBroadwellDriver) name = broadwell::BlockName(block.parameter);
  if (block.driver == kQualcommDriver) name = QualcommRecordName(block.parameter);
  return name.empty() ? fmt::format("parameter 0x{:X}", block.parameter) : name;
}

std::vector<DecodedField> DecodeBlock(const DspBlock& block) {
  if (block.driver == kSkylakeDriver) return skylake::DecodeBlock(block.parameter, block.bytes);
  if (block.driver == kBroadwellDriver) return broadwell::DecodeBlock(block.parameter, block.bytes);
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

DspDifference NumbersDiffer(const DspBlock& block, const std::string& control, std::int64_t sent,
                            std::int64_t read) {
  return {BlockName(block),     control, sent, read, std::to_string(sent),
          std::to_string(read), "",      ""};
}

DspDifference WholeBlock(const DspBlock& block, const std::string& reason) {
  return {BlockName(block), "the whole block", {}, {}, "", "", "", reason};
}

std::vector<DspDifference> CompareBlocks(const DspBlock& sent, const DspBlock& read) {
  if (sent.bytes == read.bytes) return {};
  if (sent.bytes.size() != read.bytes.size())
    return {WholeBlock(
        sent, fmt::format("{} bytes instead of {}", read.bytes.size(), sent.bytes.size()))};
  const std::vector<DecodedField> before = DecodeBlock(sent);
  const std::vector<DecodedField> after = DecodeBlock(read);
  std::vector<DspDifference> differences;
  // Both have the same rows.
  for (std::size_t i = 0; before.size() == after.size() && i < before.size(); ++i) {
    if (before[i].control != after[i].control) return CompareBytes(sent, read);
    if (before[i].value != after[i].value)
      differences.push_back(CompareFields(sent, before[i], after[i]));
  }
  return differences.empty() ? CompareBytes(sent, read) : differences;
}

}  // namespace orv::cli
