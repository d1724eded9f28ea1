// The filters that a mode's controls make in a DSP, in three forms: as designed, as quantised for
// sending, and as the driver holds them. A form without words of its own is missing.
//
// What a switch of the mode (or, for what the driver holds, of the driver) turns off is left out.
// Intel modules run every band, whether its Enable control is on or not, and so do these filters.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/dsp/plan.h"
#include "cli/offline/filter_designs.h"

namespace orv::cli {

inline constexpr std::int32_t kDspRate = 48000;  // Hz, of every design

struct FilterForms {
  std::optional<Cascade> ideal;
  std::optional<Cascade> planned;
  std::optional<Cascade> held;
};

struct ModeFilter {
  std::string name;  // "left", "audio low-pass"
  FilterForms forms;
};

// The frequencies that a plot of a channel marks: bands by number, "HP" for the high-pass.
struct FilterMark {
  double frequency = 0;  // Hz
  std::string text;
};

struct FilterGroup {
  std::string name;  // "High-pass and equaliser"
  std::vector<ModeFilter> filters;
  std::vector<FilterMark> marks;
};

// A gain whose curve is the firmware's own.
struct GainPoint {
  std::string control;
  std::optional<double> frequency;  // Hz, of the graphic equaliser
  std::string planned;              // "+3.0 dB"; empty if it is not known
  std::string held;
};

struct GainGroup {
  std::string name;  // "Graphic equaliser", "Tone"
  bool on = false;   // as the mode has it
  std::vector<GainPoint> points;
};

struct ModeFilters {
  std::string driver;
  std::vector<FilterGroup> groups;
  std::vector<GainGroup> gains;
  std::vector<std::string> notes;  // what is not drawn, or not as the mode reads, and why
};

// The driver whose suite of controls the names belong to; empty if they belong to none.
std::string DriverOfControls(const DspControlMap& controls);

// `channel` is "left", "right" or, for both, empty; channels that are alike are one filter.
// `readback` is null if nothing is to be read.
ModeFilters ReadModeFilters(const std::string& driver, const DspControlMap& controls,
                            const std::string& channel, DspReadback* readback);

}  // namespace orv::cli
