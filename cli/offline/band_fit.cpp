#include "cli/offline/band_fit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv::cli {
namespace {

constexpr double kRate = 48000;             // Hz, of every DSP
constexpr double kSteepestInDecibels = 12;  // an octave: the slope of 1

double Natural(std::int32_t steps, const StepRange& range) { return steps / range.steps; }

// The nearest steps, within the range.
std::int32_t Nearest(double value, const StepRange& range) {
  if (std::isnan(value)) return range.low;
  const double steps = std::clamp(value * range.steps, static_cast<double>(range.low),
                                  static_cast<double>(range.high));
  return static_cast<std::int32_t>(std::lround(steps));
}

bool IsLimited(double value, const StepRange& range) {
  constexpr double kHalfStep = 0.5 + 1e-6;
  return value * range.steps < range.low - kHalfStep ||
         value * range.steps > range.high + kHalfStep;
}

double Angle(double frequency) { return 2 * std::numbers::pi * frequency / kRate; }
// The square root of the linear gain, or its inverse if that is larger.
double RootGain(double gain_db) { return std::pow(10, std::abs(gain_db) / 40); }
double ShelfSum(double gain_db) { return RootGain(gain_db) + 1 / RootGain(gain_db); }

// Quality factors of the DSP for those of a list, and back. `frequency` and `gain_db` are the
// band's. Not finite and positive where there is none.
double PeakingBandQ(double q, double frequency, double gain_db) {
  const double edge = std::sin(Angle(frequency)) / (2 * q * RootGain(gain_db));
  return Angle(frequency) / (3 * std::atan(edge));
}
double PeakingListQ(double q, double frequency, double gain_db) {
  const double edge = Angle(frequency) / (3 * q);
  if (edge >= std::numbers::pi / 2) return -1;
  return std::sin(Angle(frequency)) / (2 * std::tan(edge) * RootGain(gain_db));
}
double ShelfBandQ(double q, double gain_db) {
  const double slope = 1 / (1 + (1 / (q * q) - 2) / ShelfSum(gain_db));
  return slope > 0 ? slope : HUGE_VAL;  // steeper than any
}
double ShelfListQ(double slope, double gain_db) {
  return 1 / std::sqrt(ShelfSum(gain_db) * (1 / slope - 1) + 2);
}

double QOf(const ListFilter& filter) { return filter.q.value_or(std::numbers::sqrt2 / 2); }

// The quality factor of a section of a Butterworth filter of even order, the lowest first.
double ButterworthQ(std::int32_t order, std::size_t section) {
  return 0.5 / std::cos(std::numbers::pi * (2 * static_cast<double>(section) + 1) / (2.0 * order));
}

double BandQ(const ListFilter& filter, double frequency, double gain_db) {
  const double q = QOf(filter);
  if (filter.type == ListFilterType::Peaking) return PeakingBandQ(q, frequency, gain_db);
  if (filter.slope && !filter.q) return *filter.slope / kSteepestInDecibels;
  return ShelfBandQ(q, gain_db);
}
double ListQ(const BandValues& band, const BandRanges& ranges) {
  const double q = Natural(band.q, ranges.q);
  const double gain_db = Natural(band.gain, ranges.gain);
  if (band.type != kPeakingBand) return ShelfListQ(q, gain_db);
  return PeakingListQ(q, Natural(band.frequency, ranges.frequency), gain_db);
}

std::optional<std::int32_t> BandType(ListFilterType type, const BandRanges& ranges) {
  if (type == ListFilterType::Peaking) return kPeakingBand;
  if (ranges.has_shelves && type == ListFilterType::LowShelf) return kLowShelfBand;
  if (ranges.has_shelves && type == ListFilterType::HighShelf) return kHighShelfBand;
  return std::nullopt;
}

// The number with so many decimals.
double Rounded(double number, int decimals) {
  const double power = std::pow(10, decimals);
  return std::round(number * power) / power;
}

void AddLimit(std::size_t line, const char* what, double wanted, double set, const char* unit,
              std::vector<Misfit>& misfits) {
  misfits.push_back(
      {line, what, wanted, set,
       fmt::format("{0} {1}{3} becomes {2}{3}, off by {4}{3}", what, Rounded(wanted, 4),
                   Rounded(set, 4), unit, Rounded(set - wanted, 4))});
}

BandValues FitFilter(const ListFilter& filter, std::int32_t type, const BandRanges& ranges,
                     std::vector<Misfit>& misfits) {
  BandValues band{filter.on, type, Nearest(filter.frequency, ranges.frequency),
                  Nearest(filter.gain_db, ranges.gain), 0};
  const double frequency = Natural(band.frequency, ranges.frequency);
  const double q = BandQ(filter, frequency, Natural(band.gain, ranges.gain));
  band.q = Nearest(q, ranges.q);
  if (!filter.on) {
    band.gain = 0;
    return band;
  }
  if (IsLimited(filter.frequency, ranges.frequency))
    AddLimit(filter.line, "Fc", filter.frequency, frequency, " Hz", misfits);
  if (IsLimited(filter.gain_db, ranges.gain))
    AddLimit(filter.line, "Gain", filter.gain_db, Natural(band.gain, ranges.gain), " dB", misfits);
  if (IsLimited(q, ranges.q)) {
    if (filter.slope && !filter.q) {
      AddLimit(filter.line, "slope", *filter.slope, Natural(band.q, ranges.q) * kSteepestInDecibels,
               " dB", misfits);
    } else {
      AddLimit(filter.line, "Q", QOf(filter), ListQ(band, ranges), "", misfits);
    }
  }
  return band;
}

void Clear(BandValues& band) {
  band.enabled = false;
  band.gain = 0;
}

}  // namespace

std::vector<BandValues> FitFilters(const std::vector<ListFilter>& filters,
                                   const std::vector<BandRanges>& ranges,
                                   std::vector<BandValues> bands, std::vector<Misfit>& misfits) {
  for (BandValues& band : bands) Clear(band);
  std::size_t next = 0;
  for (const ListFilter& filter : filters) {
    if (filter.type == ListFilterType::None) {
      ++next;
      continue;
    }
    const auto type = ranges.empty() ? std::nullopt : BandType(filter.type, ranges.front());
    const char* const name = ListTypeName(filter);
    if (type && next < bands.size()) {
      bands[next] = FitFilter(filter, *type, ranges[next], misfits);
      ++next;
    } else if (filter.on) {
      misfits.push_back(
          {filter.line, name, std::nullopt, std::nullopt,
           type ? fmt::format("{} has no band: the mode has {} for a channel", name, bands.size())
                : fmt::format("{} is not a type that the bands have", name)});
    }
  }
  return bands;
}

std::int32_t FitLevel(std::size_t line, const char* what, double decibels, const StepRange& range,
                      std::vector<Misfit>& misfits) {
  const std::int32_t level = Nearest(decibels, range);
  if (IsLimited(decibels, range))
    AddLimit(line, what, decibels, Natural(level, range), " dB", misfits);
  return level;
}

std::optional<HighPassValues> FitHighPass(const std::vector<ListFilter>& filters,
                                          const HighPassRanges& ranges,
                                          std::vector<Misfit>& misfits) {
  std::vector<ListFilter> sections = filters;
  std::ranges::sort(sections, {}, QOf);
  const auto order = static_cast<std::int32_t>(2 * sections.size());
  bool fits = order >= ranges.order.low && order <= ranges.order.high;
  const ListFilter& first = filters.front();
  for (std::size_t i = 0; i < sections.size(); ++i) {
    constexpr double kNear = 0.02;  // of the quality factor: less than 0.2 dB
    const double q = ButterworthQ(order, i);
    fits = fits && sections[i].frequency == first.frequency &&
           std::abs(QOf(sections[i]) - q) <= kNear * q;
  }
  if (!fits) {
    misfits.push_back(
        {first.line, ListTypeName(first), std::nullopt, std::nullopt,
         fmt::format("{} is not a high-pass that the mode has: those are Butterworth filters of "
                     "order {} to {} (order 2 has Q 0.71)",
                     ListTypeName(first), ranges.order.low, ranges.order.high)});
    return std::nullopt;
  }
  const HighPassValues values{Nearest(first.frequency, ranges.frequency), order};
  if (IsLimited(first.frequency, ranges.frequency))
    AddLimit(first.line, "Fc", first.frequency, Natural(values.frequency, ranges.frequency), " Hz",
             misfits);
  return values;
}

std::vector<ListFilter> FiltersOfHighPass(const HighPassValues& values,
                                          const HighPassRanges& ranges) {
  std::vector<ListFilter> filters;
  if (values.order % 2 != 0) return filters;
  for (std::int32_t i = 0; 2 * i < values.order; ++i) {
    ListFilter filter;
    filter.type = ListFilterType::HighPass;
    filter.frequency = Natural(values.frequency, ranges.frequency);
    filter.q = Rounded(ButterworthQ(values.order, static_cast<std::size_t>(i)), 4);
    filters.push_back(filter);
  }
  return filters;
}

std::optional<ListFilter> FilterOfBand(const BandValues& band, const BandRanges& ranges) {
  constexpr ListFilterType kTypes[] = {ListFilterType::Peaking, ListFilterType::LowShelf,
                                       ListFilterType::HighShelf};
  constexpr int kMostDecimals = 9;
  if (band.type < kPeakingBand || band.type > kHighShelfBand) return std::nullopt;
  ListFilter filter;
  filter.on = band.enabled;
  filter.type = kTypes[band.type];
  filter.frequency = Natural(band.frequency, ranges.frequency);
  filter.gain_db = Natural(band.gain, ranges.gain);
  BandValues fitted = band;
  if (!band.enabled) fitted.gain = 0;
  const double q = ListQ(band, ranges);
  if (!(q > 0 && std::isfinite(q))) return std::nullopt;
  for (int decimals = 2; decimals <= kMostDecimals; ++decimals) {
    filter.q = Rounded(q, decimals);
    std::vector<Misfit> misfits;
    if (*filter.q > 0 && FitFilter(filter, band.type, ranges, misfits) == fitted && misfits.empty())
      return filter;
  }
  return std::nullopt;
}

}  // namespace orv::cli
