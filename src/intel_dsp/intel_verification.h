// What became of a whole-mode write: the control blocks that were sent against those that the DSP
// holds.
#pragma once

#include <vector>

#include "intel_dsp/skylake/parameter_blocks.h"

namespace orv {

struct IntelVerification {
  bool done = false;  // whether anything was read back
  std::vector<SkylakeDifference> differences;
};

// Of the last write by an object of this process.
IntelVerification LastIntelVerification();

// Keeps the images of a write and reports every byte in which they differ. E_FAIL when a field
// does.
HRESULT VerifySkylakeImages(const SkylakeImage& sent, const SkylakeImage& read);

}  // namespace orv
