// The comparison of a plan with what a driver took and holds.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/dsp/plan.h"

namespace orv::cli {

// What is known of the driver after a push.
struct DspEvidence {
  // The records that it took since, on a simulated machine.
  std::optional<std::vector<DspBlock>> received;
  // Why it refused a request; null if refusals are not known.
  std::function<std::optional<std::string>(const std::string& request, std::uint32_t parameter)>
      refusal;
  // What it holds in the place of a planned block, and whether its module is on; null if the driver
  // cannot be read.
  std::function<DspReadback::Answer(const DspBlock& planned)> read;
  std::function<std::optional<bool>()> read_module;
};

enum class Proof {
  Sent,      // the driver reports nothing
  Received,  // the driver of a simulated machine took every block; it cannot be read
  ReadBack,  // every block was read back
};

struct PushOutcome {
  HRESULT status = S_OK;  // the component's
  Proof proof = Proof::Sent;
  std::vector<DspBlock> blocks;  // received; those that were planned if that is not known
  bool module = false;           // whether the module's status is part of the plan
  std::vector<DspDifference> differences;
  std::vector<DspPlan::Gap> kept;
  std::vector<std::string> remarks;  // on what the driver holds

  bool differs() const noexcept { return FAILED(status) || !differences.empty(); }
  // Whether the driver took nothing of the plan, or answers only by its status, which is a failure.
  bool refused() const noexcept {
    return blocks.empty() || (proof == Proof::Sent && FAILED(status));
  }
};

PushOutcome ComparePush(const DspPlan& plan, HRESULT status, const DspEvidence& evidence);

// What is known through `readback`, which lives longer.
DspEvidence EvidenceOf(DspReadback& readback, const std::string& driver);

}  // namespace orv::cli
