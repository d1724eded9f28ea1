// What became of a push into a DSP, judged and shown.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/dsp_readback.h"

namespace orv::cli {

struct PushOutcome {
  HRESULT status = S_OK;     // the component's
  bool looked_into = false;  // whether blocks and differences tell anything
  std::vector<DspBlock> blocks;
  std::vector<DspDifference> differences;

  // The component's own verification, or the second look, found something.
  bool differs() const noexcept { return status == E_FAIL || !differences.empty(); }
};

// Runs the push and compares what the drivers received with what they answer.
PushOutcome PushAndLook(DspReadback* readback, const std::function<HRESULT()>& push);

// Throws Failure when the component or the driver said no, with what was asked and what to do about
// it; else sets the exit status.
void Judge(Context& context, const PushOutcome& outcome, const std::string& asked,
           const std::string& remedy);
Json ToJson(const PushOutcome& outcome);
// Blocks with their fields, then the differences.
void ShowPush(Context& context, const PushOutcome& outcome);
// After a whole mode that the component could not verify: control blocks of a Skylake module that
// were not sent count as differences, because the module keeps what it had in them.
void AddUnsentBlocks(PushOutcome& outcome);
// For commands whose JSON value has no place for them.
void RemarkDifferences(Context& context, const PushOutcome& outcome);

}  // namespace orv::cli
