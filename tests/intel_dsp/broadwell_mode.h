// A mode with every control of the Broadwell module.
#pragma once

#include "control_map.h"

namespace orv {

using FakeControls = std::map<std::string, std::int32_t>;

inline FakeControls BroadwellMode() {
  const auto controls = Controls(R"(
Process Enable=1 AMHD Input Gain=-20 AMHD Output Gain=0 Bypass Gain=-60 Headroom Gain=-60
HPF Enable=1 AEQ Enable=1 EVolHD Enable=1 EVolHD LKFS=-240 EVolHD Level Intensity=50 AMHD Enable=1
AMHD Input Mode=3 Surround Enable=1 Surround Level=70 Space HPF Enable=1 Space HPF Custom Freq=350
DC Enable=1 DC Level=40 WIDHDX ORV3D Space Level=25 WIDHDX ORV3D Center Level=100
WIDHDX Headphone Enable=0 WIDHDX High Bit Rate Enable=1 WIDHDX ORV3D Mode=2 DPHD Enable=1
DPHD Level=80 DPHD Speaker Audio Size=180 DPHD Speaker Analysis Size=110
DPHD Split Analysis Enable=1 DPHD Mode=1 DPHD Bass Clarity Level=33 Definition Enable=1
Definition Level=60 WIDHDX Focus Enable=0 WIDHDX Focus Level=10 Hard Limiter Enable=1
Hard Limiter Delay Len=120 Hard Limiter Boost Gain=120 Hard Limiter Output Gain=0 HPF Order=4
HPF Frequency=60 PEQ Left Band 0 Enable=1 PEQ Left Band 0 Frequency=1000
PEQ Left Band 0 Q Factor=70 PEQ Left Band 0 Gain=-30 PEQ Left Band 0 Type=0)",
                                 "ZENSND-");
  return {controls.begin(), controls.end()};
}

}  // namespace orv
