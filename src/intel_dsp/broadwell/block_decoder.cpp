// The Broadwell module's parameters as text.
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/fields.h"
#include "records/word_decoder.h"

namespace orv::broadwell {
namespace {

using records::WordDecoder;
using Fields = std::vector<DecodedField>;

constexpr char kReserved[] = "reserved";
constexpr std::size_t kBassSize = 96;
constexpr std::size_t kSpaceSize = 32;

// The count in front, or none; cascade and zeros.
Fields DecodeCascade(std::span<const std::byte> block, FieldType type, const char* count) {
  WordDecoder words(block, {.type = type, .first_section = 0});
  if (count != nullptr) words.Count(count, FieldType::U32);
  words.Cascade("", words.words_left() < 8 ? 0 : (words.words_left() - 2) / 6);
  return words.Finish(kReserved, FieldType::U16);
}

Fields DecodeHighPass(std::span<const std::byte> block) {
  return block.size() < 10 ? Fields() : DecodeCascade(block, FieldType::I16, "order");
}

Fields DecodeEqualizer(std::span<const std::byte> block) {
  return block.size() < 12 ? Fields() : DecodeCascade(block, FieldType::I32, "sections");
}

Fields DecodeBass(std::span<const std::byte> block) {
  if (block.size() != kBassSize) return {};
  WordDecoder words(block, {.first_section = 0});
  words.Resonators("audio size");
  words.Resonators("analysis size");
  words.Cascade("", 1);
  return words.Finish(kReserved, FieldType::U16);
}

Fields DecodeSpace(std::span<const std::byte> block) {
  return block.size() != kSpaceSize ? Fields() : DecodeCascade(block, FieldType::I32, nullptr);
}

struct CoefficientBlock {
  std::uint32_t parameter;
  const char* name;
  Fields (*decode)(std::span<const std::byte> block);
};
constexpr CoefficientBlock kCoefficientBlocks[] = {
    {kHighPassCoefficients, "HPF coefficients", DecodeHighPass},
    {kLeftEqualizer, "Left PEQ coefficients", DecodeEqualizer},
    {kRightEqualizer, "Right PEQ coefficients", DecodeEqualizer},
    {kBassCoefficients, "Bass enhancement coefficients", DecodeBass},
    {kSpaceCoefficients, "Space HPF coefficients", DecodeSpace},
};

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

std::string BroadwellBlockName(std::uint32_t parameter) {
  for (const Block& block : kBlocks) {
    if (block.parameter == parameter) return block.name;
  }
  for (const CoefficientBlock& block : kCoefficientBlocks) {
    if (block.parameter == parameter) return block.name;
  }
  return {};
}

std::vector<DecodedField> DecodeBroadwellBlock(std::uint32_t parameter,
                                               std::span<const std::byte> block) {
  for (const CoefficientBlock& coefficients : kCoefficientBlocks) {
    if (coefficients.parameter == parameter) return coefficients.decode(block);
  }
  for (const Block& known : kBlocks) {
    if (known.parameter == parameter && known.size == block.size())
      return intel::DecodeFields(known.fields, block);
  }
  return {};
}

}  // namespace orv::broadwell
