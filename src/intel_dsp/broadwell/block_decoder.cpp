// The Broadwell module's parameters as text.
#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/conversion/converters.h"
#include "records/word_decoder.h"

namespace orv::broadwell {
namespace {

using records::WordDecoder;
using Fields = std::vector<DecodedField>;

struct CoefficientBlock {
  std::uint32_t parameter;
  const char* name;
  std::size_t fewest;  // bytes
  std::size_t most;
  FieldType type = FieldType::I32;
  const char* count = nullptr;  // the number in front of the cascade
};
constexpr CoefficientBlock kCoefficientBlocks[] = {
    {kHighPassCoefficients, "HPF coefficients", 10, kLargestParameter, FieldType::I16, "order"},
    {kLeftEqualizer, "Left PEQ coefficients", 12, kLargestParameter, FieldType::I32, "sections"},
    {kRightEqualizer, "Right PEQ coefficients", 12, kLargestParameter, FieldType::I32, "sections"},
    {kBassCoefficients, "Bass enhancement coefficients", 96, 96},
    {kSpaceCoefficients, "Space HPF coefficients", 32, 32},
};

Fields DecodeCoefficients(const CoefficientBlock& row, std::span<const std::byte> block) {
  if (block.size() < row.fewest || block.size() > row.most) return {};
  WordDecoder words(block, {.type = row.type, .first_section = 0});
  if (row.count != nullptr) words.Count(row.count, FieldType::U32);
  if (row.parameter == kBassCoefficients) {
    words.Resonators("audio size");
    words.Resonators("analysis size");
  }
  words.Cascade("", words.words_left() < 8 ? 0 : (words.words_left() - 2) / 6);
  return words.Finish("reserved", FieldType::U16);
}

}  // namespace

FieldPlace FindField(std::string_view control) {
  for (const Block& block : kBlocks) {
    for (const Field& field : block.fields) {
      if (field.conversion != Conversion::Reserved && control == field.control)
        return {&block, &field};
    }
  }
  return {};
}

std::string BlockName(std::uint32_t parameter) {
  for (const Block& block : kBlocks) {
    if (block.parameter == parameter) return block.name;
  }
  for (const CoefficientBlock& block : kCoefficientBlocks) {
    if (block.parameter == parameter) return block.name;
  }
  return {};
}

std::vector<DecodedField> DecodeBlock(std::uint32_t parameter, std::span<const std::byte> block) {
  for (const CoefficientBlock& coefficients : kCoefficientBlocks) {
    if (coefficients.parameter == parameter) return DecodeCoefficients(coefficients, block);
  }
  for (const Block& known : kBlocks) {
    if (known.parameter == parameter && known.size == block.size())
      return intel::DecodeFields(known.fields, block);
  }
  return {};
}

}  // namespace orv::broadwell
