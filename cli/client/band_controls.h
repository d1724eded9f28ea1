// The parametric bands of a mode as its public controls hold them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "cli/client/control_view.h"
#include "cli/offline/band_fit.h"

namespace orv::cli {

struct ChannelBands {
  std::vector<std::string> stems;  // "VQ3D-PEQ Left Band 0 "
  std::vector<BandRanges> ranges;
  std::vector<BandValues> values;

  friend bool operator==(const ChannelBands& a, const ChannelBands& b) {
    return a.values == b.values;
  }
};

struct ModeBands {
  std::string suite;  // "VQ3D"; empty if the mode has no bands
  ChannelBands left;
  ChannelBands right;
  // The level in front of the equaliser; null if the mode has no control for it.
  const ControlView* preamp = nullptr;
  StepRange preamp_range;
  // The mode's own high-pass, for both channels; its three controls are null if it has none.
  struct HighPass {
    const ControlView* enable = nullptr;
    const ControlView* frequency = nullptr;
    const ControlView* order = nullptr;
    HighPassRanges ranges;

    explicit operator bool() const { return enable && frequency && order; }
  };
  HighPass high_pass;
  // Whether a band runs with its Enable control off.
  bool ignores_enable = false;
};

// `views` are the mode's public controls and live longer. A band without a value counts as 0.
ModeBands FindBands(const std::vector<ControlView>& views);

// The controls that hold these values.
std::map<std::string, std::int32_t> ControlsOf(const ChannelBands& bands,
                                               const std::vector<BandValues>& values);

}  // namespace orv::cli
