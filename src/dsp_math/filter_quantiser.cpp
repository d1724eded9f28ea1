#include <algorithm>
#include <cmath>
#include <limits>

#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr int kMostBits = std::numeric_limits<float>::max_exponent + 1;

template <class Word>
Word Quantise(float value, int shift) {
  return RoundToWord<Word>(std::ldexp(value, std::numeric_limits<Word>::digits + 1 - shift));
}

}  // namespace

int HeadroomBits(float magnitude) {
  if (magnitude == 0) return 0;
  if (!std::isfinite(magnitude)) return kMostBits;
  int exponent = 0;  // of a fraction within 0.5..1
  std::frexp(magnitude, &exponent);
  return std::max(exponent + 1, 0);
}

template <class Word>
Word RoundToWord(float value) {
  if (std::isnan(value)) return 0;
  const double rounded = static_cast<double>(value) + (value >= 0 ? 0.5 : -0.5);
  return static_cast<Word>(std::clamp<double>(rounded, std::numeric_limits<Word>::min(),
                                              std::numeric_limits<Word>::max()));
}

template <class Word>
void QuantiseSections(const FilterSection* sections, std::size_t count, float gain, Word* words) {
  for (const FilterSection* section = sections; section != sections + count; ++section) {
    const float values[] = {section->b0, section->b1, section->b2, section->a1, section->a2};
    float largest = 0;
    for (const float value : values) largest = std::max(largest, std::fabs(value));
    const int shift = HeadroomBits(largest);
    *words++ = static_cast<Word>(shift);
    for (const float value : values) *words++ = Quantise<Word>(value, shift);
  }
  const int shift = HeadroomBits(gain);
  *words++ = static_cast<Word>(shift);
  *words = Quantise<Word>(gain, shift);
}

template std::int16_t RoundToWord(float);
template std::int32_t RoundToWord(float);
template void QuantiseSections(const FilterSection*, std::size_t, float, std::int16_t*);
template void QuantiseSections(const FilterSection*, std::size_t, float, std::int32_t*);

}  // namespace orv
