// Pushes into a DSP: run, compared with their plan, and shown.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/context.h"
#include "cli/dsp/plan.h"

namespace orv::cli {

// What is known of the driver after a push.
struct DspEvidence {
  // The records that it took since, on a simulated machine.
  std::optional<std::vector<DspBlock>> received;
  DspReadback* readback = nullptr;  // made before the push; null if the driver is not asked

  bool CanRead(const std::string& driver) const {
    return readback != nullptr && readback->CanRead(driver);
  }
};

enum class Proof {
  Sent,      // the driver reports nothing
  Received,  // the driver of a simulated machine took every block; it cannot be read
  ReadBack,  // each block was read back, or that it could not be is a difference
};

struct PushOutcome {
  HRESULT status = S_OK;  // the component's
  Proof proof = Proof::Sent;
  std::vector<DspBlock> blocks;  // received; those that were planned if that is not known
  bool module = false;           // whether the module's status is part of the plan
  std::vector<DspDifference> differences;
  std::vector<DspPlan::Gap> kept;
  std::vector<std::string> findings;  // about what the driver holds

  bool differs() const noexcept { return FAILED(status) || !differences.empty(); }
  // Whether the driver took nothing of the plan, or answers only by its status, which is a failure.
  bool refused() const noexcept {
    return blocks.empty() || (proof == Proof::Sent && FAILED(status));
  }
};

// Compares the plan with what the driver took and holds. `status` is the component's.
PushOutcome ComparePush(const DspPlan& plan, HRESULT status, const DspEvidence& evidence);

// Runs `push`, the component's operation that the plan describes, and compares. `readback` was made
// before it.
PushOutcome RunPush(DspReadback& readback, const DspPlan& plan,
                    const std::function<HRESULT()>& push);

// Sets the exit status. Throws Failure, with what was asked, every reason and what to do about it,
// if the component or the driver refused the request as a whole.
void SettlePush(Context& context, const PushOutcome& outcome, const std::string& asked,
                const std::string& remedy);
Json ToJson(const PushOutcome& outcome);
// Shows the verdict, the differences and findings; `with_blocks` shows the blocks with their fields
// before them.
void ShowPush(Context& context, const PushOutcome& outcome, bool with_blocks);
// Reports differences and findings on standard error, for commands whose result does not show them.
void WarnOfDifferences(Context& context, const PushOutcome& outcome);
// "Verified: 15 blocks and the module's status, each taken and read back as planned."
std::string VerdictText(const PushOutcome& outcome);

}  // namespace orv::cli
