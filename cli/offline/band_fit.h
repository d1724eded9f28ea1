// The filters of an equaliser list as the parametric bands of a DSP, and back.
//
// A list gives the quality factor of a peaking filter as the usual peaking formula takes it, and
// that of a shelf as well. The DSP's peaking bands count quality in another way (a third of the
// frequency over the bandwidth between prewarped edges), and its shelves have a slope. Each is
// converted, so that the band has the filter's very curve, but for the steps of its controls.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/offline/equaliser_list.h"

namespace orv::cli {

// What a control takes: whole steps within its range.
struct StepRange {
  std::int32_t low = 0;
  std::int32_t high = 0;
  double steps = 1;  // to one unit: Hz, dB, 1
};

struct BandRanges {
  StepRange frequency;
  StepRange gain;
  StepRange q;
  bool has_shelves = false;  // whether the band has a type
};

// The types of a band, by their number.
inline constexpr std::int32_t kPeakingBand = 0;
inline constexpr std::int32_t kLowShelfBand = 1;
inline constexpr std::int32_t kHighShelfBand = 2;

// A band in its controls' steps.
struct BandValues {
  bool enabled = false;
  std::int32_t type = kPeakingBand;
  std::int32_t frequency = 0;
  std::int32_t gain = 0;
  std::int32_t q = 0;

  bool operator==(const BandValues&) const = default;
};

// What of a list a mode cannot take.
struct Misfit {
  std::size_t line = 0;
  std::string what;              // "Gain", "Fc", "Q", "Preamp"; the type of a filter without a band
  std::optional<double> wanted;  // in the list's unit
  std::optional<double> set;     // nullopt if the filter has no band
  std::string reason;            // a text, without the line
};

// The bands of one channel after an import: filters that are on in their order, places and filters
// that are off as bands with 0 dB that are disabled, and so the bands that are left over.
std::vector<BandValues> FitFilters(const std::vector<ListFilter>& filters,
                                   const std::vector<BandRanges>& ranges,
                                   std::vector<BandValues> bands, std::vector<Misfit>& misfits);

// A mode's own high-pass, in its controls' steps: a Butterworth filter.
struct HighPassValues {
  std::int32_t frequency = 0;
  std::int32_t order = 0;
};
struct HighPassRanges {
  StepRange frequency;
  StepRange order;
};
// The high-pass that these filters of a list (at least one) are together: all at one frequency,
// with the quality factors of a Butterworth filter's sections. Else a misfit.
std::optional<HighPassValues> FitHighPass(const std::vector<ListFilter>& filters,
                                          const HighPassRanges& ranges,
                                          std::vector<Misfit>& misfits);
// Its filters in a list; none for an odd order, which a list does not have.
std::vector<ListFilter> FiltersOfHighPass(const HighPassValues& values,
                                          const HighPassRanges& ranges);

// A level in the steps of its control; a misfit if it is out of range.
std::int32_t FitLevel(std::size_t line, const char* what, double decibels, const StepRange& range,
                      std::vector<Misfit>& misfits);

// The band as a filter that FitFilters turns into the same band (but for the gain of one that is
// disabled), with as few decimals as that needs.
// Returns nullopt for a band that is not a peaking filter or shelf: a peaking band so wide that its
// edges fold over, a shelf so steep that its slope has no quality factor.
std::optional<ListFilter> FilterOfBand(const BandValues& band, const BandRanges& ranges);

}  // namespace orv::cli
