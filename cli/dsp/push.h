// A push into a DSP: run, compared with its plan, and shown.
#pragma once

#include <functional>
#include <string>

#include "cli/client/context.h"
#include "cli/dsp/verdict.h"

namespace orv::cli {

// `push` is the component's operation that the plan describes; `readback` was made before it.
PushOutcome RunPush(DspReadback& readback, const DspPlan& plan,
                    const std::function<HRESULT()>& push);

// Sets the exit status. Throws Failure, with what was asked, every reason and what to do about it,
// if the component or the driver refused the request as a whole.
void SettlePush(Context& context, const PushOutcome& outcome, const std::string& asked,
                const std::string& remedy);
Json ToJson(const PushOutcome& outcome);
// Blocks with their fields, then the differences and remarks.
void ShowPush(Context& context, const PushOutcome& outcome);
// Differences and remarks on standard error, for commands whose result has no place for them.
void RemarkDifferences(Context& context, const PushOutcome& outcome);
// "Verified: 15 blocks and the module's status, each taken and read back as planned."
std::string VerdictText(const PushOutcome& outcome);

}  // namespace orv::cli
