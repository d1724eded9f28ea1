// Whether the DSP behind an endpoint is there and processes.
#pragma once

#include "cli/client/diagnosis.h"

namespace orv::cli {

// Adds the check of the DSP.
void ExamineDsp(Diagnosis& diagnosis, Machine& machine, const Endpoint& endpoint);

}  // namespace orv::cli
