// Whether the DSP behind an endpoint is there and processes.
#pragma once

#include <string>

#include "cli/client/dsp_objects.h"

namespace orv::cli {

struct DspCheck {
  bool ok = false;
  std::string detail;
  std::string remedy;
};
DspCheck CheckDsp(Machine& machine, const Endpoint& endpoint);

}  // namespace orv::cli
