// The Broadwell module's parameters as people read them.
#include <algorithm>
#include <cmath>
#include <utility>

#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/field_text.h"

namespace orv {
namespace {

using broadwell::Block;
using Fields = std::vector<DecodedField>;

constexpr std::size_t kBassSize = 96;
constexpr std::size_t kSpaceSize = 32;

// Coefficient words one after the other, as far as the block reaches.
class WordDecoder {
 public:
  WordDecoder(std::span<const std::byte> block, FieldType type) : block_(block), type_(type) {}

  // A word with so many bits before the point; a plain number with as many as it has.
  std::int64_t Take(const std::string& name, std::int64_t integer_bits) {
    return TakeAs(type_, name, integer_bits);
  }
  std::int64_t TakeCount(const std::string& name) { return TakeAs(FieldType::U32, name, 32); }
  // Sections of shift and coefficients, then shift and gain.
  void TakeCascade() {
    const auto width = static_cast<std::int64_t>(8 * FieldWidth(type_));
    const std::size_t words = (block_.size() - next_) / FieldWidth(type_);
    for (std::size_t i = 0; 6 * i + 8 <= words; ++i) {
      const std::string section = "section " + std::to_string(i) + ' ';
      const std::int64_t shift = Take(section + "shift", width);
      for (const char* coefficient : {"b0", "b1", "b2", "a1", "a2"})
        Take(section + coefficient, shift);
    }
    const std::int64_t shift = Take("gain shift", width);
    Take("gain", shift);
  }
  void TakeResonators(const std::string& size) {
    Take(size + " low-pass b0", 1);
    Take(size + " low-pass a1", 1);
    for (const char* resonator : {" resonator 1 ", " resonator 2 "}) {
      for (const char* coefficient : {"b2", "a1", "a2"}) Take(size + resonator + coefficient, 2);
    }
  }
  Fields Finish() {
    while (next_ + 2 <= block_.size()) TakeAs(FieldType::U16, "reserved", 16);
    return std::move(fields_);
  }

 private:
  std::int64_t TakeAs(FieldType type, const std::string& name, std::int64_t integer_bits) {
    const std::size_t width = FieldWidth(type);
    if (next_ + width > block_.size()) return 0;
    const std::int64_t word = ReadField(block_, next_, type);
    const auto bits = static_cast<int>(8 * width);
    const bool whole = integer_bits == bits;
    // A driver may hold any word where a shift belongs.
    const auto exponent = static_cast<int>(std::clamp<std::int64_t>(integer_bits, -9999, 9999));
    const double real = std::ldexp(static_cast<double>(word), exponent - bits);
    fields_.push_back({next_, name, word, whole ? std::to_string(word) : RealText(real)});
    next_ += width;
    return word;
  }

  std::span<const std::byte> block_;
  FieldType type_;
  std::size_t next_ = 0;
  Fields fields_;
};

Fields DecodeHighPass(std::span<const std::byte> block) {
  if (block.size() < 10) return {};
  WordDecoder words(block, FieldType::I16);
  words.TakeCount("order");
  words.TakeCascade();
  return words.Finish();
}

Fields DecodeEqualizer(std::span<const std::byte> block) {
  if (block.size() < 12) return {};
  WordDecoder words(block, FieldType::I32);
  words.TakeCount("sections");
  words.TakeCascade();
  return words.Finish();
}

Fields DecodeBass(std::span<const std::byte> block) {
  if (block.size() != kBassSize) return {};
  WordDecoder words(block, FieldType::I32);
  words.TakeResonators("audio size");
  words.TakeResonators("analysis size");
  words.TakeCascade();
  return words.Finish();
}

Fields DecodeSpace(std::span<const std::byte> block) {
  if (block.size() != kSpaceSize) return {};
  WordDecoder words(block, FieldType::I32);
  words.TakeCascade();
  return words.Finish();
}

struct CoefficientBlock {
  std::uint32_t parameter;
  const char* name;
  Fields (*decode)(std::span<const std::byte> block);
};
constexpr CoefficientBlock kCoefficientBlocks[] = {
    {broadwell::kHighPassCoefficients, "HPF coefficients", DecodeHighPass},
    {broadwell::kLeftEqualizer, "Left PEQ coefficients", DecodeEqualizer},
    {broadwell::kRightEqualizer, "Right PEQ coefficients", DecodeEqualizer},
    {broadwell::kBassCoefficients, "Bass enhancement coefficients", DecodeBass},
    {broadwell::kSpaceCoefficients, "Space HPF coefficients", DecodeSpace},
};

}  // namespace

std::string BroadwellBlockName(std::uint32_t parameter) {
  for (const Block& block : broadwell::kBlocks) {
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
  for (const Block& known : broadwell::kBlocks) {
    if (known.parameter == parameter && known.size == block.size())
      return intel::DecodeFields(known.fields, block);
  }
  return {};
}

}  // namespace orv
