#include "dsp_math/filter_design.h"

#include <algorithm>

#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr double kQ31 = 2147483648.0;
constexpr double kQ30 = 1073741824.0;
constexpr int kLargest16 = 32767;
constexpr std::size_t kLowPassValues = 2;  // of a resonator set; they are Q31, the others Q30

// The caller's storage: the sections, their overall gain, then the scaling run.
struct Workspace {
  Workspace(void* memory, std::size_t count)
      : sections(reinterpret_cast<FilterSection*>((reinterpret_cast<std::uintptr_t>(memory) + 7) &
                                                  ~std::uintptr_t{7})),
        gain(reinterpret_cast<float*>(sections + count)),
        run(gain + 1) {}

  FilterSection* sections;
  float* gain;
  float* run;
};

template <class Word>
void ScaleAndQuantise(const Workspace& workspace, std::size_t count, Word* words) {
  *workspace.gain = count == 0 ? 1.0F : ScaleSectionsL1(workspace.sections, count, workspace.run);
  QuantiseSections(workspace.sections, count, *workspace.gain, words);
}

template <class Word>
std::int32_t DesignButterworth(float frequency, std::int32_t order, std::int32_t sample_rate,
                               std::int32_t kind, Word* words, void* memory) {
  const std::size_t count = ButterworthSections(order);
  const Workspace workspace(memory, count);
  const std::int32_t status =
      DesignButterworthSections(frequency, order, sample_rate, kind, workspace.sections);
  if (status == kFilterOk) ScaleAndQuantise(workspace, count, words);
  return status;
}

void WriteResonatorSet(float size, std::int32_t sample_rate, std::int32_t* words) {
  const auto values = DesignResonatorSet(size, sample_rate);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double scale = i < kLowPassValues ? kQ31 : kQ30;
    words[i] = RoundToWord<std::int32_t>(static_cast<float>(values[i] * scale));
  }
}

}  // namespace

std::int32_t DesignButterworth16(float frequency, std::int32_t order, std::int32_t sample_rate,
                                 std::int32_t kind, std::int16_t* words, void* workspace) {
  const std::int32_t status =
      DesignButterworth(frequency, order, sample_rate, kind, words, workspace);
  if (status != kFilterOk) return status;
  // Rounding may part b1 from twice b0, and then the zeros leave the unit circle. The product is
  // held within the word: wrapped around, it would change its sign.
  const int factor = kind == kButterworthLowPass ? 2 : -2;
  const std::size_t sections = ButterworthSections(order);
  for (std::size_t i = order % 2 != 0 ? 1 : 0; i < sections; ++i) {
    words[6 * i + 2] = static_cast<std::int16_t>(
        std::clamp(factor * words[6 * i + 1], -kLargest16 - 1, kLargest16));
  }
  return kFilterOk;
}

std::int32_t DesignButterworth32(float frequency, std::int32_t order, std::int32_t sample_rate,
                                 std::int32_t kind, std::int32_t* words, void* workspace) {
  return DesignButterworth(frequency, order, sample_rate, kind, words, workspace);
}

std::int32_t DesignFilterSet(const FilterSet& set, std::int32_t* words, void* memory) {
  const auto count = static_cast<std::size_t>(std::max(set.band_count, 0));
  const Workspace workspace(memory, count);
  const std::int32_t status = DesignCascade(set, workspace.sections);
  if (status == kFilterOk) ScaleAndQuantise(workspace, count, words);
  return status;
}

std::int32_t DesignBassEnhancementFilters(float audio_size, float analysis_size,
                                          std::int32_t sample_rate, std::int32_t* words,
                                          void* workspace) {
  WriteResonatorSet(audio_size, sample_rate, words);
  WriteResonatorSet(analysis_size, sample_rate, words + 8);
  const FilterBand all_pass{kORVFilter_AllPass, AllPassFrequency(audio_size), 1, 0, 0};
  return DesignFilterSet({1, &all_pass, sample_rate}, words + 16, workspace);
}

}  // namespace orv
