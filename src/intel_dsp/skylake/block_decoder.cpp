// Blocks as text.
#include <fmt/format.h>

#include "intel_dsp/skylake/writers.h"
#include "records/word_decoder.h"

namespace orv::skylake {
namespace {

using records::WordDecoder;

constexpr const char* kFilterName = "KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU";
constexpr const char* kReserved = "reserved";
constexpr std::size_t kWordSize = 4;

// The header of a filter block.
struct FilterHeader {
  std::int64_t high_pass_order = 0;
  bool high_pass = false;
  std::int64_t iir_order = 0;
  std::int64_t fir_length = 0;
  bool equalizer = false;

  // Whether the orders are valid and a block of this size has their words.
  bool Fits(std::size_t size, std::size_t frame) const {
    if (high_pass &&
        (high_pass_order < kFewestHighPassOrder || high_pass_order > kMostHighPassOrder))
      return false;
    if (equalizer && (iir_order < 0 || iir_order > kMostIirOrder || fir_length >= kMostFirTaps))
      return false;
    std::size_t words = high_pass ? IirWords(static_cast<std::int32_t>(high_pass_order)) : 0;
    if (equalizer)
      words += IirWords(static_cast<std::int32_t>(iir_order)) +
               FirWords(static_cast<std::int32_t>(fir_length));
    return size == frame + kWordSize * words;
  }
};

void DecodeFir(WordDecoder& decoder, std::int64_t taps) {
  const std::int64_t shift = decoder.Count("FIR shift");
  for (std::int64_t i = 0; i < taps; ++i) decoder.Coefficient(fmt::format("FIR tap {}", i), shift);
  decoder.Coefficient("FIR gain", decoder.Count("FIR gain shift"));
}

std::vector<DecodedField> DecodeFilter(std::span<const std::byte> bytes, bool left) {
  const FilterLayout& layout = left ? kLeftFilterLayout : kRightFilterLayout;
  const std::size_t frame = layout.header + layout.trailer;
  if (bytes.size() < frame) return {};
  WordDecoder decoder(bytes);
  FilterHeader header;
  if (left) {
    header.high_pass = decoder.Switch("high-pass present");
    header.high_pass_order = decoder.Count("high-pass order");
    decoder.Count("constant");
  }
  header.equalizer = decoder.Switch("equalizer present");
  header.iir_order = decoder.Count("IIR order");
  header.fir_length = decoder.Count("FIR length");
  if (!header.Fits(bytes.size(), frame)) return {};

  if (header.high_pass)
    decoder.Cascade("high-pass ", static_cast<std::size_t>(header.high_pass_order + 1) / 2);
  if (header.equalizer) {
    decoder.Cascade("IIR ", static_cast<std::size_t>(header.iir_order + 1) / 2);
    if (header.fir_length > 0) DecodeFir(decoder, header.fir_length + 1);
  }
  return decoder.Finish(kReserved, FieldType::I32);
}

std::vector<DecodedField> DecodeBassFilters(std::span<const std::byte> bytes) {
  if (bytes.size() != 24 * kWordSize) return {};
  WordDecoder decoder(bytes);
  decoder.Resonators("audio size");
  decoder.Resonators("analysis size");
  decoder.Cascade("all-pass ", 1);
  return decoder.Finish(kReserved, FieldType::I32);
}

std::vector<DecodedField> DecodeSpaceFilter(std::span<const std::byte> bytes) {
  if (bytes.size() != 8 * kWordSize) return {};
  WordDecoder decoder(bytes);
  decoder.Cascade("high-pass ", 1);
  return decoder.Finish(kReserved, FieldType::I32);
}

const Block* ControlBlock(std::uint32_t parameter) {
  if (parameter == kCommonConfig) return &kCommonConfigBlock;
  const bool known = parameter >= kVQ3D && parameter <= kAdvancedGains;
  return known ? &BlockOf(parameter) : nullptr;
}

}  // namespace

std::string BlockName(std::uint32_t parameter) {
  if (const Block* block = ControlBlock(parameter)) return block->name;
  switch (parameter) {
    case kLeftFilter:
    case kRightFilter:
      return kFilterName;
    case kBassFilters:
      return "bass-enhancement filter coefficients";
    case kSpaceFilter:
      return "space high-pass filter coefficients";
    default:
      return {};
  }
}

std::vector<DecodedField> DecodeBlock(std::uint32_t parameter, std::span<const std::byte> block) {
  if (const Block* controls = ControlBlock(parameter)) {
    if (block.size() != controls->size) return {};
    return intel::DecodeFields(controls->fields, block);
  }
  switch (parameter) {
    case kLeftFilter:
    case kRightFilter:
      return DecodeFilter(block, parameter == kLeftFilter);
    case kBassFilters:
      return DecodeBassFilters(block);
    case kSpaceFilter:
      return DecodeSpaceFilter(block);
    default:
      return {};
  }
}

}  // namespace orv::skylake
