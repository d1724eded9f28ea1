// Blocks as people read them.
#include <algorithm>
#include <cmath>
#include <utility>

#include "intel_dsp/field_text.h"
#include "intel_dsp/skylake/block_tables.h"
#include "intel_dsp/skylake/parameter_blocks.h"

namespace orv {
namespace {

constexpr const char* kFilterName = "KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU";
constexpr const char* kReserved = "reserved";
constexpr std::size_t kWordSize = 4;

// The words of a coefficient block one after the other; stops at its end.
class WordDecoder {
 public:
  explicit WordDecoder(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::int64_t Count(const std::string& name) {
    return Append(name, [](std::int64_t word) { return std::to_string(word); });
  }
  void Switch(const std::string& name) {
    Append(name, [](std::int64_t word) -> std::string { return word != 0 ? "on" : "off"; });
  }
  // A word with so many bits before the point.
  void Coefficient(const std::string& name, std::int64_t shift) {
    const int exponent = static_cast<int>(std::clamp<std::int64_t>(shift, -1000, 1000)) - 32;
    Append(name, [exponent](std::int64_t word) {
      return RealText(std::ldexp(static_cast<double>(word), exponent));
    });
  }
  void Sections(const std::string& name, std::size_t count) {
    for (std::size_t i = 1; i <= count; ++i) {
      const std::string section = name + " section " + std::to_string(i) + ' ';
      const std::int64_t shift = Count(section + "shift");
      for (const char* coefficient : {"b0", "b1", "b2", "a1", "a2"})
        Coefficient(section + coefficient, shift);
    }
    Gain(name);
  }
  void Fir(std::size_t taps) {
    const std::int64_t shift = Count("FIR shift");
    for (std::size_t i = 0; i < taps; ++i) Coefficient("FIR tap " + std::to_string(i), shift);
    Gain("FIR");
  }
  void Resonators(const std::string& name) {
    constexpr const char* kLowPass[] = {" low-pass b0", " low-pass a1"};
    constexpr const char* kResonator[] = {" b2", " a1", " a2"};
    for (const char* value : kLowPass) Coefficient(name + value, 1);
    for (const char* resonator : {" resonator 1", " resonator 2"})
      for (const char* value : kResonator) Coefficient(name + resonator + value, 2);
  }
  std::vector<DecodedField> Finish() {
    while (next_ + kWordSize <= bytes_.size()) Count(kReserved);
    return std::move(fields_);
  }

 private:
  void Gain(const std::string& name) { Coefficient(name + " gain", Count(name + " gain shift")); }

  template <class Text>
  std::int64_t Append(const std::string& name, Text text) {
    if (next_ + kWordSize > bytes_.size()) return 0;
    const std::int64_t word = ReadField(bytes_, next_, FieldType::I32);
    fields_.push_back({next_, name, word, text(word)});
    next_ += kWordSize;
    return word;
  }

  std::span<const std::byte> bytes_;
  std::size_t next_ = 0;
  std::vector<DecodedField> fields_;
};

// What a filter block's header announces, when it lies within the orders and fits the size.
struct FilterHeader {
  std::int64_t high_pass_order = 0;
  bool high_pass = false;
  std::int64_t iir_order = 0;
  std::int64_t fir_length = 0;
  bool equalizer = false;

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

std::vector<DecodedField> DecodeFilter(std::span<const std::byte> bytes, bool left) {
  const std::size_t header_size = left ? kLeftFilterHeader : kRightFilterHeader;
  const std::size_t trailer = left ? kLeftFilterTrailer : kRightFilterTrailer;
  if (bytes.size() < header_size + trailer) return {};
  WordDecoder decoder(bytes);
  FilterHeader header;
  if (left) {
    header.high_pass = ReadField(bytes, 0, FieldType::U32) != 0;
    decoder.Switch("high-pass present");
    header.high_pass_order = decoder.Count("high-pass order");
    decoder.Count("constant");
  }
  header.equalizer = ReadField(bytes, header_size - 3 * kWordSize, FieldType::U32) != 0;
  decoder.Switch("equalizer present");
  header.iir_order = decoder.Count("IIR order");
  header.fir_length = decoder.Count("FIR length");
  if (!header.Fits(bytes.size(), header_size + trailer)) return {};

  if (header.high_pass)
    decoder.Sections("high-pass", static_cast<std::size_t>(header.high_pass_order + 1) / 2);
  if (header.equalizer) {
    decoder.Sections("IIR", static_cast<std::size_t>(header.iir_order + 1) / 2);
    if (header.fir_length > 0) decoder.Fir(static_cast<std::size_t>(header.fir_length) + 1);
  }
  return decoder.Finish();
}

std::vector<DecodedField> DecodeBassFilters(std::span<const std::byte> bytes) {
  if (bytes.size() != 24 * kWordSize) return {};
  WordDecoder decoder(bytes);
  decoder.Resonators("audio size");
  decoder.Resonators("analysis size");
  decoder.Sections("all-pass", 1);
  return decoder.Finish();
}

std::vector<DecodedField> DecodeSpaceFilter(std::span<const std::byte> bytes) {
  if (bytes.size() != 8 * kWordSize) return {};
  WordDecoder decoder(bytes);
  decoder.Sections("high-pass", 1);
  return decoder.Finish();
}

const SkylakeBlock* ControlBlock(std::uint32_t parameter) {
  if (parameter == kSkylakeCommonConfig) return &kCommonConfigBlock;
  const bool known = parameter >= kSkylakeVQ3D && parameter <= kSkylakeAdvancedGains;
  return known ? &BlockOf(parameter) : nullptr;
}

}  // namespace

std::string SkylakeBlockName(std::uint32_t parameter) {
  if (const SkylakeBlock* block = ControlBlock(parameter)) return block->name;
  switch (parameter) {
    case kSkylakeLeftFilter:
    case kSkylakeRightFilter:
      return kFilterName;
    case kSkylakeBassFilters:
      return "bass-enhancement filter coefficients";
    case kSkylakeSpaceFilter:
      return "space high-pass filter coefficients";
    default:
      return {};
  }
}

std::vector<DecodedField> DecodeSkylakeBlock(std::uint32_t parameter,
                                             std::span<const std::byte> block) {
  if (const SkylakeBlock* controls = ControlBlock(parameter)) {
    if (block.size() != controls->size) return {};
    return intel::DecodeFields(controls->fields, block);
  }
  switch (parameter) {
    case kSkylakeLeftFilter:
    case kSkylakeRightFilter:
      return DecodeFilter(block, parameter == kSkylakeLeftFilter);
    case kSkylakeBassFilters:
      return DecodeBassFilters(block);
    case kSkylakeSpaceFilter:
      return DecodeSpaceFilter(block);
    default:
      return {};
  }
}

}  // namespace orv
