#include "intel_dsp/broadwell/coefficients.h"

#include <algorithm>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/filter_designs.h"
#include "records/fields.h"

namespace orv::broadwell {
namespace {

constexpr char kDefaultConfiguration[] = "Default";
constexpr std::size_t kClosingZeros = 2;  // bytes behind a high-pass set
constexpr std::int32_t kSpaceOrder = 2;
constexpr std::size_t kSectionWords = FilterWords(1) - FilterWords(0);
constexpr std::size_t kResonatorWords = kBassEnhancementWords - FilterWords(1);

constexpr std::int16_t kDefaultHighPass[] = {2,     5393,   -10786, 5393,  32669,  -16286, 2,
                                             15463, -30926, 15463,  32531, -16148, 3,      26101};
constexpr std::int16_t kOtherHighPass[] = {2,      4374,   -8748, 4374,  32701,  -16318, 2,
                                           14891,  -29782, 14891, 32586, -16203, 3,      8772,
                                           -17544, 8772,   16260, -8069, 3,      31051};

// Number of sections first.
constexpr std::int32_t kDefaultEqualizer[] = {2,          2, 1073741824, 0, 0, 0, 0,         2,
                                              1073741824, 0, 0,          0, 0, 2, 1073741824};
constexpr std::int32_t kOtherEqualizer[] = {
    4,          2,           544458944,  -1088103296, 543667648,  2141238528,  -1067542528,
    2,          182296304,   -328028256, 146435776,   2119761792, -1050568256, 2,
    1174676608, -1529619712, 753366848,  1535543936,  -861768896, 1,           1510237824,
    992091072,  1082221184,  -991754688, -444096256,  5,          1712821632};

constexpr std::int32_t kBass[kBassEnhancementWords] = {
    25751478, 2095980672, -4661823,   2134411776, -1061308544, -33733708,   2112158976, -1040315072,
    22997346, 2101488896, -4160442,   2135879296, -1062645696, -30138042,   2116107520, -1043878016,
    2,        288205472,  -595477888, 308678496,  2071376896,  -1002526144, 3,          1867511808};

constexpr std::int32_t kSpace[] = {2,          438374880,   -876749760, 438374880,
                                   2075951104, -1004516480, 3,          1271898880};

template <class Word>
void Append(Bytes& bytes, std::span<const Word> words) {
  constexpr FieldType kType = sizeof(Word) == 2 ? FieldType::I16 : FieldType::I32;
  std::size_t at = bytes.size();
  bytes.resize(at + words.size_bytes());
  for (const Word word : words) {
    StoreField(bytes, at, kType, word);
    at += sizeof word;
  }
}

Bytes BytesOf(std::span<const std::int32_t> words) {
  Bytes bytes;
  Append<std::int32_t>(bytes, words);
  return bytes;
}

Bytes HighPassOf(std::int32_t order, std::span<const std::int16_t> words) {
  Bytes bytes(sizeof order);
  StoreField(bytes, 0, FieldType::U32, order);
  Append<std::int16_t>(bytes, words);
  const std::size_t words_of_order = FilterWords(ButterworthSections(order));
  bytes.resize(sizeof order + 2 * std::max(words.size(), words_of_order) + kClosingZeros);
  return bytes;
}

// Whether the module can apply every shift of a set of sections and a gain: 0 to 31, and no more
// than the width of 16-bit words.
template <class Word>
bool ShiftsFit(std::span<const Word> words) {
  constexpr Word kMost = sizeof(Word) == 2 ? 16 : 31;
  for (std::size_t i = 0; i < words.size(); i += kSectionWords) {
    if (words[i] < 0 || words[i] > kMost) return false;
  }
  return true;
}

}  // namespace

Bytes HighPassBlock(std::int32_t order, std::int32_t frequency) {
  if (!IsFrequency(frequency)) return {};
  const std::size_t sections = ButterworthSections(order);
  std::vector<std::int16_t> words(FilterWords(sections));
  Bytes workspace(FilterWorkspace(sections));
  const std::int32_t status =
      DesignButterworth16(static_cast<float>(frequency), order, kIntelSampleRate,
                          kButterworthHighPass, words.data(), workspace.data());
  if (status != kFilterOk || !ShiftsFit<std::int16_t>(words)) return {};
  return HighPassOf(order, words);
}

Bytes HighPassPreset(std::int32_t order, const std::string& configuration) {
  if (configuration == kDefaultConfiguration) return HighPassOf(order, kDefaultHighPass);
  return HighPassOf(order, kOtherHighPass);
}

Bytes EqualizerBlock(std::span<const FilterBand> bands) {
  if (4 + 4 * FilterWords(bands.size()) > kLargestParameter) return {};
  const std::vector<std::int32_t> words = DesignEqualizer(bands);
  if (words.empty() || !ShiftsFit<std::int32_t>(words)) return {};
  Bytes bytes(4);
  StoreField(bytes, 0, FieldType::U32, static_cast<std::int64_t>(bands.size()));
  Append<std::int32_t>(bytes, words);
  return bytes;
}

Bytes EqualizerPreset(const std::string& configuration) {
  if (configuration == kDefaultConfiguration) return BytesOf(kDefaultEqualizer);
  return BytesOf(kOtherEqualizer);
}

Bytes BassBlock(std::int32_t audio_size, std::int32_t analysis_size) {
  const std::vector<std::int32_t> words = DesignBassSet(audio_size, analysis_size);
  if (words.empty()) return {};
  const auto all_pass = std::span(words).subspan(kResonatorWords);
  return ShiftsFit(all_pass) ? BytesOf(words) : Bytes();
}

Bytes BassPreset() { return BytesOf(kBass); }

Bytes SpaceBlock(std::int32_t frequency) {
  const std::vector<std::int32_t> words =
      DesignHighPass(static_cast<float>(frequency), kSpaceOrder);
  return !words.empty() && ShiftsFit<std::int32_t>(words) ? BytesOf(words) : Bytes();
}

Bytes SpacePreset() { return BytesOf(kSpace); }

}  // namespace orv::broadwell
