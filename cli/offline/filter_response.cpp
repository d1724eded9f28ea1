#include "cli/offline/filter_response.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/show/scale.h"

namespace orv::cli {

bool IsSilent(const Cascade& filter, double rate) {
  constexpr int kSteps = 100;
  return std::ranges::all_of(ResponseFrequencies(kSteps, rate), [&](double frequency) {
    return IsSilent(filter.Decibels(frequency, rate));
  });
}

ResponsePoint PointAt(const Cascade& ideal, const Cascade& fixed, double frequency, double rate) {
  return {frequency, ideal.Decibels(frequency, rate), fixed.Decibels(frequency, rate)};
}

std::vector<double> ResponseFrequencies(int steps, double rate) {
  const double ratio = kHighestShare * rate / kLowestFrequency;
  std::vector<double> frequencies;
  for (int i = 0; i <= steps; ++i)
    frequencies.push_back(kLowestFrequency * std::pow(ratio, static_cast<double>(i) / steps));
  return frequencies;
}

LargestError FindLargestError(const Cascade& ideal, const Cascade& fixed, double rate) {
  LargestError error;
  error.worst = LargestDeviation(ideal, fixed, rate, kLowestFrequency, kHighestShare * rate);
  error.at = PointAt(ideal, fixed, error.worst.frequency, rate);
  return error;
}

std::string LargestErrorText(const LargestError& error) {
  if (std::abs(error.worst.decibels) < 0.0001) return "below 0.0001 dB";
  const std::string place = " at " + HertzText(error.worst.frequency);
  if (!error.ends_in_silence()) return Decimals(error.worst.decibels, 4) + " dB" + place;
  return fmt::format("{} instead of {}{}", DecibelText(error.at.fixed_db, 4, " dB"),
                     DecibelText(error.at.ideal_db, 4, " dB"), place);
}

Json ToJson(const LargestError& error) {
  return {{"frequency", error.worst.frequency},
          {"db", error.ends_in_silence() ? Json() : DecibelJson(error.worst.decibels)},
          {"ideal_db", DecibelJson(error.at.ideal_db)},
          {"fixed_db", DecibelJson(error.at.fixed_db)}};
}

std::string DecibelText(double decibels, int decimals, const char* unit) {
  return IsSilent(decibels) ? "silent" : Decimals(decibels, decimals) + unit;
}

Json DecibelJson(double decibels) {
  return std::isfinite(decibels) && !IsSilent(decibels) ? Json(decibels) : Json();
}

}  // namespace orv::cli
