// How a row of the control table becomes the record that clients of the library read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "values/control_info.h"

namespace orv::technology {

using Record = TechnologyControlRecord;

// Positions of choices are the codes that drivers take, so the order of every list is fixed.
constexpr const char* kSwitch[] = {"Disabled", "Enabled"};

constexpr Record MakeRecord(const char* name, std::int32_t minimum, std::int32_t maximum,
                            std::uint32_t scale, float factor) {
  return {name, minimum, maximum, 0, 0, 0, nullptr, scale, factor};
}

template <std::size_t N>
constexpr Record Choice(const char* name, const char* const (&choices)[N]) {
  Record record = MakeRecord(name, 0, static_cast<std::int32_t>(N) - 1, ORV_QVT_SCALE_ENUM, 1.0F);
  record.name_count = static_cast<std::int32_t>(N);
  record.names = choices;
  return record;
}

constexpr Record Switch(const char* name) { return Choice(name, kSwitch); }

constexpr Record Number(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_NONE, 1.0F);
}

constexpr Record Percent(const char* name) { return Number(name, 0, 100); }

constexpr Record Hertz(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return Number(name, minimum, maximum);
}

constexpr Record Hundredths(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_BY100, 100.0F);
}

constexpr Record Decibels(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_DB, 1.0F);
}

constexpr Record TenthsOfDecibels(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_DB, 10.0F);
}

// A number with a meaning of its own, which the table's comment gives.
constexpr Record Custom(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_CUSTOM, 1.0F);
}

// Free text: it has no number.
constexpr Record Text(const char* name) {
  return MakeRecord(name, 0, 0, ORV_QVT_SCALE_STRING, 1.0F);
}

}  // namespace orv::technology

// One parametric band with tenths of decibels and a choice of shapes: five records.
#define ORV_SHAPED_BAND(suite, channel, band)                                    \
  Switch(suite "-PEQ " channel " Band " #band " Enable"),                        \
      Hertz(suite "-PEQ " channel " Band " #band " Frequency", 20, 20000),       \
      Hundredths(suite "-PEQ " channel " Band " #band " Q Factor", 10, 1000),    \
      TenthsOfDecibels(suite "-PEQ " channel " Band " #band " Gain", -240, 240), \
      Choice(suite "-PEQ " channel " Band " #band " Type", shapes)

// Twelve bands, as many as an equaliser of order 24 holds. `shapes` is the suite's list of shapes.
#define ORV_SHAPED_BANDS(suite, channel)                                      \
  ORV_SHAPED_BAND(suite, channel, 0), ORV_SHAPED_BAND(suite, channel, 1),     \
      ORV_SHAPED_BAND(suite, channel, 2), ORV_SHAPED_BAND(suite, channel, 3), \
      ORV_SHAPED_BAND(suite, channel, 4), ORV_SHAPED_BAND(suite, channel, 5), \
      ORV_SHAPED_BAND(suite, channel, 6), ORV_SHAPED_BAND(suite, channel, 7), \
      ORV_SHAPED_BAND(suite, channel, 8), ORV_SHAPED_BAND(suite, channel, 9), \
      ORV_SHAPED_BAND(suite, channel, 10), ORV_SHAPED_BAND(suite, channel, 11)

// One peaking band with whole decibels: four records.
#define ORV_PEAKING_BAND(suite, channel, band)                             \
  Switch(suite "-PEQ " channel " Band " #band " Enable"),                  \
      Hertz(suite "-PEQ " channel " Band " #band " Frequency", 20, 20000), \
      Decibels(suite "-PEQ " channel " Band " #band " Gain", -24, 24),     \
      Hundredths(suite "-PEQ " channel " Band " #band " Q Factor", 10, 1000)
