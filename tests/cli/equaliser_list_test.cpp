#include "cli/offline/equaliser_list.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "cli/offline/band_fit.h"
#include "cli/offline/filter_designs.h"
#include "dsp_math/cascade_response.h"

namespace orv::cli {
namespace {

ListFilter Filter(ListFilterType type, double frequency, double gain_db, std::optional<double> q,
                  std::optional<double> slope = {}) {
  return {0, ListChannel::Both, true, type, frequency, gain_db, q, slope};
}

TEST(EqualiserList, FormsOfALine) {
  using enum ListFilterType;
  const struct {
    const char* text;
    ListFilter filter;
  } cases[] = {
      {"Filter 1: ON PK Fc 105 Hz Gain -4.5 dB Q 2.1", Filter(Peaking, 105, -4.5, 2.1)},
      {"filter: on peq fc 1.2kHz gain +3dB q 1", Filter(Peaking, 1200, 3, 1)},
      {"\xef\xbb\xbf"
       "Filter 12 : ON PK Fc 63,5 Hz Gain \u22122,25 dB Q 1,414",
       Filter(Peaking, 63.5, -2.25, 1.414)},
      {"Filter 1: ON PK Fc 1,250 Hz Gain 1 dB Q 1", Filter(Peaking, 1250, 1, 1)},
      {"Filter 1: ON PK Fc 1.250 Hz Gain 1,5 dB Q 1", Filter(Peaking, 1250, 1.5, 1)},
      {"Filter 1: ON PK Fc 1.250 kHz Gain 1,5 dB Q 1", Filter(Peaking, 1250, 1.5, 1)},
      {"Filter 1: ON PK Fc 12\u202f500 Hz Gain 1 dB Q 1", Filter(Peaking, 12500, 1, 1)},
      {"Filter 1: ON PK Fc 1'250.5 Hz Gain 1 dB Q 1", Filter(Peaking, 1250.5, 1, 1)},
      {"Filter 1: ON PK Fc 100 Hz Gain 1 dB BW Oct 1",
       Filter(Peaking, 100, 1, std::numbers::sqrt2)},
      {"Filter 1: ON LSC 6 dB Fc 80 Hz Gain 3 dB", Filter(LowShelf, 80, 3, {}, 6)},
      {"Filter 1: ON HS Fc 8000 Hz Gain -3 dB", Filter(HighShelf, 8000, -3, {})},
      {"Filter 1: ON LPQ Fc 80 Hz Q 0.7", Filter(LowPass, 80, 0, 0.7)},
      {"Filter 1: ON NO Fc 50 Hz", Filter(Notch, 50, 0, {})},
  };
  for (const auto& one : cases) {
    EqualiserList list = ReadEqualiserList(one.text);
    ASSERT_EQ(list.filters.size(), 1U) << one.text;
    list.filters[0].line = 0;
    list.filters[0].typed = {};
    EXPECT_NEAR(list.filters[0].q.value_or(-1), one.filter.q.value_or(-1), 1e-9) << one.text;
    list.filters[0].q = one.filter.q;
    EXPECT_EQ(list.filters[0], one.filter) << one.text;
  }
}

TEST(EqualiserList, LinesThatAreNotUnderstoodAreListed) {
  const EqualiserList list = ReadEqualiserList(
      "Filter Settings file\r\nDated: today\r\n\r\nPreamp: -6 dB\r# note\nFilter 1: OFF None\n"
      "Filter 2: ON PK Fc 10 Hz Gain\nFilter 3: ON XX Fc 10 Hz\nnonsense\n"
      "Filter 4: ON PK Fc 1e9 Hz Gain 0 dB Q 1\nFilter 5: ON PK Fc 12,50,1 Hz Gain 0 dB Q 1\n"
      "Filter 6: ON PK Fc 10 Hz Gain 0 dB\nChannel: R\nPreamp: -3,5\nFilter 1: ON AP Fc 9 Hz\n");
  std::vector<std::size_t> lines;
  for (const EqualiserList::Problem& problem : list.problems) lines.push_back(problem.line);
  EXPECT_EQ(lines, (std::vector<std::size_t>{7, 8, 9, 10, 11, 12}));
  EXPECT_EQ(list.preamps,
            (std::vector<ListPreamp>{{4, ListChannel::Both, -6}, {14, ListChannel::Right, -3.5}}));
  ASSERT_EQ(list.filters.size(), 2U);
  EXPECT_EQ(list.filters[1].channel, ListChannel::Right);
  EXPECT_EQ(WriteEqualiserList(list),
            "Preamp: -6 dB\nFilter 1: OFF None\n"
            "Channel: right\nPreamp: -3.5 dB\nFilter 1: ON AP Fc 9 Hz\n");
}

const HighPassRanges kHighPass{{20, 2000, 1}, {2, 10, 1}};
const BandRanges kRanges{{20, 20000, 1}, {-240, 240, 10}, {10, 1000, 100}, true};

Cascade Band(std::int32_t type, double frequency, double q, double gain_db) {
  FilterSection section{};
  DesignBand(
      {type, static_cast<float>(frequency), static_cast<float>(q), static_cast<float>(gain_db), 0},
      48000, section);
  return Cascade(&section, 1);
}

BandValues Fit(const ListFilter& filter, std::vector<Misfit>& misfits) {
  return FitFilters({filter}, {kRanges}, {{}}, misfits).front();
}

// The usual peaking filter is one of the designs, so the two curves can be compared.
TEST(BandFit, BandsHaveTheCurvesOfTheList) {
  const BandRanges fine{{0, 20000000, 1000}, {-24000, 24000, 1000}, {1, 10000000, 100000}, true};
  for (const double frequency : {40.0, 1000.0, 12000.0}) {
    for (const double gain : {-12.0, 3.0}) {
      std::vector<Misfit> misfits;
      const ListFilter filter = Filter(ListFilterType::Peaking, frequency, gain, 2);
      const BandValues band = FitFilters({filter}, {fine}, {{}}, misfits).front();
      const Cascade wanted = Band(kORVFilter_Peaking, frequency, 2, gain);
      const Cascade found = Band(kORVFilter_Traditional, frequency, band.q / 100000.0, gain);
      EXPECT_NEAR(LargestDeviation(wanted, found, 48000, 10, 23000).decibels, 0, 2e-3);
      EXPECT_TRUE(misfits.empty());
    }
  }
  FilterArguments butterworth;
  butterworth.order = 4;
  butterworth.frequency = 150;
  butterworth.rate = 48000;
  Cascade sections{std::vector<Cascade::Section>()};
  for (const ListFilter& filter : FiltersOfHighPass({150, 4}, kHighPass))
    sections.Append(  // a high-pass takes its quality factor as a gain
        Band(kORVFilter_HighPass, filter.frequency, 1, 20 * std::log10(*filter.q)));
  const Cascade wanted = DesignButterworth(butterworth).filters.front().ideal;
  EXPECT_NEAR(LargestDeviation(wanted, sections, 48000, 10, 23000).decibels, 0, 4e-3);
  std::vector<Misfit> misfits;
  EXPECT_EQ(Fit(Filter(ListFilterType::LowShelf, 80, 6, {}, 9), misfits).q, 75);
  EXPECT_EQ(Fit(Filter(ListFilterType::LowShelf, 80, 6, std::numbers::sqrt2 / 2), misfits).q, 100);
}

TEST(BandFit, EveryBandThatIsAFilterComesBackFromItsList) {
  for (const std::int32_t type : {kPeakingBand, kLowShelfBand, kHighShelfBand}) {
    for (const std::int32_t frequency : {20, 997, 19999}) {
      for (const std::int32_t gain : {-240, -1, 0, 155}) {
        for (const std::int32_t q : {60, 137, 1000}) {
          const BandValues band{true, type, frequency, gain, q};
          const std::optional<ListFilter> filter = FilterOfBand(band, kRanges);
          if (!filter) {
            EXPECT_TRUE(type != kPeakingBand && q == 1000);  // steeper than any quality factor
            continue;
          }
          EqualiserList list;
          list.filters = {*filter};
          std::vector<Misfit> misfits;
          EXPECT_EQ(Fit(ReadEqualiserList(WriteEqualiserList(list)).filters.at(0), misfits), band);
        }
      }
    }
  }
  EXPECT_FALSE(FilterOfBand({true, kPeakingBand, 20000, 30, 10}, kRanges));
}

}  // namespace
}  // namespace orv::cli
