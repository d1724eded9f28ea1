// The steps that the filter designs are made of. Results are kept in single precision, expressions
// evaluated in double precision and rounded once, where the result is kept. Products of two results
// are exact in double precision.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dsp_math/filter_design.h"

namespace orv {

// A section of the float design; a1 and a2 with the sign of the feedback.
struct FilterSection {
  float b0;
  float b1;
  float b2;
  float a1;
  float a2;
};

// Float designs: `sections` takes what the order or the bands need. Refusals as in filter_design.h;
// bands before a refused one are designed.
std::int32_t DesignButterworthSections(float frequency, std::int32_t order,
                                       std::int32_t sample_rate, std::int32_t kind,
                                       FilterSection* sections);
// Leaves the section as it is when the type is unknown.
void DesignBand(const FilterBand& band, std::int32_t sample_rate, FilterSection& section);
std::int32_t DesignCascade(const FilterSet& set, FilterSection* sections);

// Divides each section by the worst-case level of its nodes relative to the section before and
// returns the overall gain that restores the cascade. `run` takes 5 * count + 384 floats.
float ScaleSectionsL1(FilterSection* sections, std::size_t count, float* run);

// Bits to the left of the binary point that a magnitude needs, with the sign: 2 for 1.0, 1 for 0.5.
int HeadroomBits(float magnitude);
// The float design as words; Word is int16_t or int32_t.
template <class Word>
void QuantiseSections(const FilterSection* sections, std::size_t count, float gain, Word* words);
// Half away from zero, held within the word's range; 0 for a value that is not a number.
template <class Word>
Word RoundToWord(float value);

// The first-order low-pass (b0 = b1, a1) and two resonators (b2 = -b0, a1, a2) of a loudspeaker
// size in Hz.
std::array<float, 8> DesignResonatorSet(float size, std::int32_t sample_rate);
// Centre in Hz of the all-pass that goes with an audio size.
float AllPassFrequency(float audio_size);

}  // namespace orv
