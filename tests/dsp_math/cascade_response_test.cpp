#include "dsp_math/cascade_response.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "dsp_math/filter_steps.h"

namespace orv {
namespace {

constexpr std::int32_t kRate = 48000;

Cascade Butterworth(float frequency, std::int32_t order, std::int32_t kind) {
  std::vector<FilterSection> sections(ButterworthSections(order));
  DesignButterworthSections(frequency, order, kRate, kind, sections.data());
  return Cascade(sections.data(), sections.size());
}

TEST(CascadeResponse, ButterworthFollowsItsClosedForm) {
  for (const std::int32_t order : {1, 2, 3, 8, 24}) {
    for (const double frequency : {100.0, 900.0, 1000.0, 1100.0, 8000.0}) {
      const double warped = std::tan(std::numbers::pi * frequency / kRate) /
                            std::tan(std::numbers::pi * 1000 / kRate);
      const double low = -10 * std::log10(1 + std::pow(warped, 2 * order));
      const double high = -10 * std::log10(1 + std::pow(warped, -2 * order));
      EXPECT_NEAR(Butterworth(1000, order, 0).Decibels(frequency, kRate), low, 2e-3);
      EXPECT_NEAR(Butterworth(1000, order, 1).Decibels(frequency, kRate), high, 2e-3);
    }
  }
}

TEST(CascadeResponse, GroupDelayIsTheSlopeOfThePhase) {
  Cascade filter = Butterworth(1000, 3, kButterworthHighPass);
  FilterSection band{};
  DesignBand({kORVFilter_Traditional, 2000, 3, -12, 0}, kRate, band);
  filter.Append(Cascade(&band, 1));
  filter.AppendTaps({0.25, -0.5, 0.125, 0.25});
  constexpr double kStep = 1e-3;  // Hz
  for (const double frequency : {300.0, 1000.0, 2000.0, 9000.0}) {
    const double slope =
        filter.Phase(frequency - kStep, kRate) - filter.Phase(frequency + kStep, kRate);
    EXPECT_NEAR(filter.GroupDelay(frequency, kRate), slope / 360 * kRate / (2 * kStep), 1e-3);
  }
}

TEST(CascadeResponse, PolesOfAKnownSection) {
  const Cascade resonant({{1, 0, 0, 2 * 0.9 * std::cos(1.0), -0.81}});
  EXPECT_NEAR(resonant.PoleRadius(), 0.9, 1e-12);
  EXPECT_NEAR(resonant.PoleFrequencies(kRate)[0], kRate / (2 * std::numbers::pi), 1e-6);
  EXPECT_TRUE(resonant.Stable());
  EXPECT_FALSE(Cascade({{1, 0, 0, 0.3, 0.7}}).Stable());
  const std::int16_t words[] = {2, 16384, 0, 0, 0, -16384, 3, 8192};
  const std::int32_t wide[] = {2, 1 << 30, 0, 0, 0, -(1 << 30), 3, 1 << 29};
  for (const Cascade& fixed : {Cascade::FromWords(words, 1), Cascade::FromWords(wide, 1)}) {
    EXPECT_NEAR(fixed.PoleRadius(), 1, 1e-12);
    EXPECT_NEAR(fixed.Decibels(0, kRate), -6.0206, 1e-3);
  }
}

TEST(CascadeResponse, LargestDeviationFindsANarrowDifference) {
  const Cascade flat({{1, 0, 0, 0, 0}});
  FilterSection section{};
  DesignBand({kORVFilter_Peaking, 1234.5F, 300, -3, 0}, kRate, section);
  const Deviation found = LargestDeviation(flat, Cascade(&section, 1), kRate, 20, 20000);
  EXPECT_NEAR(found.frequency, 1234.5, 0.1);
  EXPECT_NEAR(found.decibels, -3, 1e-3);
}

}  // namespace
}  // namespace orv
