#include "cli/client/band_controls.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace orv::cli {
namespace {

constexpr double kQSteps = 100;

// What the DSPs make of a suite's bands.
struct BandSuite {
  const char* name;
  double gain_steps;  // to a decibel
  bool ignores_enable;
  const char* preamp;  // control; empty without one
};
constexpr BandSuite kSuites[] = {
    {"VQ3D", 10, true, "VQ3D-AEQ Input Gain"},
    {"ZENSND", 10, true, ""},
    {"QUMEDIA", 1, false, ""},
};

constexpr char kEnable[] = "Enable";
constexpr char kFrequency[] = "Frequency";
constexpr char kGain[] = "Gain";
constexpr char kQ[] = "Q Factor";
constexpr char kType[] = "Type";

// A control without a range takes any number.
StepRange RangeOf(const ControlView& view, double steps) {
  if (view.minimum < view.maximum) return {view.minimum, view.maximum, steps};
  using Limits = std::numeric_limits<std::int32_t>;
  return {Limits::min(), Limits::max(), steps};
}

ChannelBands FindChannel(const std::vector<ControlView>& views, const BandSuite& suite,
                         const char* channel) {
  ChannelBands bands;
  for (;;) {
    const std::string stem =
        fmt::format("{}-PEQ {} Band {} ", suite.name, channel, bands.stems.size());
    const auto find = [&](const char* ending) { return FindView(views, stem + ending); };
    const ControlView* parts[] = {find(kEnable), find(kFrequency), find(kGain), find(kQ)};
    if (std::ranges::find(parts, nullptr) != std::end(parts)) return bands;
    const ControlView* const type = find(kType);
    const auto value = [](const ControlView* view) {
      return view != nullptr ? view->value.value_or(0) : 0;
    };
    bands.stems.push_back(stem);
    bands.ranges.push_back({RangeOf(*parts[1], 1), RangeOf(*parts[2], suite.gain_steps),
                            RangeOf(*parts[3], kQSteps), type != nullptr});
    bands.values.push_back(
        {value(parts[0]) != 0, value(type), value(parts[1]), value(parts[2]), value(parts[3])});
  }
}

ModeBands::HighPass FindHighPass(const std::vector<ControlView>& views, const BandSuite& suite) {
  const auto find = [&](const char* name) {
    return FindView(views, fmt::format("{}-HPF {}", suite.name, name));
  };
  ModeBands::HighPass found{find(kEnable), find(kFrequency), find("Order"), {}};
  if (found) found.ranges = {RangeOf(*found.frequency, 1), RangeOf(*found.order, 1)};
  return found;
}

}  // namespace

ModeBands FindBands(const std::vector<ControlView>& views) {
  ModeBands bands;
  for (const BandSuite& suite : kSuites) {
    bands.left = FindChannel(views, suite, "Left");
    bands.right = FindChannel(views, suite, "Right");
    if (bands.left.stems.empty() && bands.right.stems.empty()) continue;
    bands.suite = suite.name;
    bands.ignores_enable = suite.ignores_enable;
    bands.preamp = FindView(views, suite.preamp);
    bands.high_pass = FindHighPass(views, suite);
    if (bands.preamp != nullptr) bands.preamp_range = RangeOf(*bands.preamp, suite.gain_steps);
    break;
  }
  return bands;
}

std::map<std::string, std::int32_t> ControlsOf(const ChannelBands& bands,
                                               const std::vector<BandValues>& values) {
  std::map<std::string, std::int32_t> controls;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string& stem = bands.stems[i];
    controls[stem + kEnable] = values[i].enabled ? 1 : 0;
    controls[stem + kFrequency] = values[i].frequency;
    controls[stem + kGain] = values[i].gain;
    controls[stem + kQ] = values[i].q;
    if (bands.ranges[i].has_shelves) controls[stem + kType] = values[i].type;
  }
  return controls;
}

}  // namespace orv::cli
