#include "cli/dsp/verdict.h"

#include <algorithm>

#include "platform/driver_names.h"

namespace orv::cli {
namespace {

std::string OnOff(bool on) { return on ? "on" : "off"; }

class Comparison {
 public:
  Comparison(const DspPlan& plan, HRESULT status, const DspEvidence& evidence)
      : plan_(plan), status_(status), evidence_(evidence) {}

  std::vector<DspDifference> Run() {
    for (const DspPlan::Gap& gap : plan_.missing)
      differences_.push_back(WholeBlock(gap.block, "not sent: " + gap.reason));
    for (const DspBlock& block : plan_.blocks)
      if (Received(block)) ReadBack(block);
    if (plan_.module) CompareModule(*plan_.module);
    return std::move(differences_);
  }

 private:
  std::optional<std::string> Refusal(const char* request, std::uint32_t parameter) const {
    auto reason = evidence_.refusal ? evidence_.refusal(request, parameter) : std::nullopt;
    if (reason) *reason = "refused by the driver: " + *reason;
    return reason;
  }

  // True if the driver took the block as it was planned, or does not report what it took.
  bool Received(const DspBlock& planned) {
    if (!evidence_.received) return true;
    const auto found = std::find_if(
        evidence_.received->rbegin(), evidence_.received->rend(), [&](const DspBlock& block) {
          return block.driver == planned.driver && block.parameter == planned.parameter;
        });
    if (found == evidence_.received->rend()) {
      const char* const unsent = status_ == orv_apo::kAborted
                                     ? "not sent: the write was abandoned before it"
                                     : "the driver did not receive it";
      differences_.push_back(
          WholeBlock(planned, Refusal(request::kParameter, planned.parameter).value_or(unsent)));
      return false;
    }
    const std::size_t before = differences_.size();
    Add(CompareBlocks(planned, *found));
    if (found->selector != planned.selector) {
      differences_.push_back({BlockName(planned),
                              planned.driver == kQualcommDriver ? "form factor" : "apply flag",
                              planned.selector, found->selector, std::to_string(planned.selector),
                              std::to_string(found->selector), "", ""});
    }
    return differences_.size() == before;
  }

  void ReadBack(const DspBlock& planned) {
    if (!evidence_.read) return;
    const DspReadback::Answer answer = evidence_.read(planned);
    if (answer.block) return Add(CompareBlocks(planned, *answer.block));
    differences_.push_back(WholeBlock(planned, "not read back: " + answer.reason));
  }

  void CompareModule(bool planned) {
    DspDifference difference{
        "module", "module status", planned, std::nullopt, OnOff(planned), "", "", ""};
    if (const auto refusal = Refusal(request::kStatus, 0)) {
      difference.reason = *refusal;
    } else if (!evidence_.read_module) {
      return;
    } else if (const auto held = evidence_.read_module()) {
      if (*held == planned) return;
      difference.read = *held;
      difference.read_text = OnOff(*held);
    } else {
      difference.reason = "not read back: the driver refuses to be read";
    }
    differences_.push_back(std::move(difference));
  }

  void Add(std::vector<DspDifference> found) {
    differences_.insert(differences_.end(), found.begin(), found.end());
  }

  const DspPlan& plan_;
  HRESULT status_;
  const DspEvidence& evidence_;
  std::vector<DspDifference> differences_;
};

// The latest record of every parameter, in the order of their first arrival.
std::vector<DspBlock> Latest(const std::vector<DspBlock>& records) {
  std::vector<DspBlock> blocks;
  for (const DspBlock& record : records) {
    const auto known = std::find_if(blocks.begin(), blocks.end(), [&](const DspBlock& block) {
      return block.driver == record.driver && block.parameter == record.parameter;
    });
    if (known != blocks.end()) {
      *known = record;
    } else {
      blocks.push_back(record);
    }
  }
  return blocks;
}

}  // namespace

PushOutcome ComparePush(const DspPlan& plan, HRESULT status, const DspEvidence& evidence) {
  PushOutcome outcome;
  outcome.status = status;
  outcome.proof = evidence.read ? Proof::ReadBack : Proof::Sent;
  if (!evidence.read && evidence.received) outcome.proof = Proof::Received;
  outcome.blocks = evidence.received ? Latest(*evidence.received) : plan.blocks;
  outcome.module = plan.module.has_value();
  outcome.kept = plan.kept;
  outcome.differences = Comparison(plan, status, evidence).Run();
  return outcome;
}

DspEvidence EvidenceOf(DspReadback& readback, const std::string& driver) {
  DspEvidence evidence;
  if (readback.simulated()) {
    evidence.received = readback.Received();
    evidence.refusal = [&readback, driver](const std::string& request, std::uint32_t parameter) {
      return readback.Refusal(driver, request, parameter);
    };
  }
  if (readback.CanRead(driver))
    evidence.read = [&readback](const DspBlock& planned) { return readback.Read(planned); };
  if (driver == kSkylakeDriver)
    evidence.read_module = [&readback, driver] { return readback.ReadModule(driver); };
  return evidence;
}

}  // namespace orv::cli
