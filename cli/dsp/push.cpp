#include "cli/dsp/push.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/core/noncopyable.hpp>
#include <thread>

#include "cli/client/host.h"
#include "platform/driver_names.h"
#include "platform/synchronization.h"

namespace orv::cli {
namespace {

std::string OnOff(bool on) { return on ? "on" : "off"; }

// A test for blocks of the same parameter.
auto IsFor(const DspBlock& planned) {
  return [&planned](const DspBlock& block) {
    return block.driver == planned.driver && block.parameter == planned.parameter;
  };
}

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
    const DspReadback* readback = evidence_.readback;
    auto reason =
        readback != nullptr ? readback->Refusal(plan_.driver, request, parameter) : std::nullopt;
    if (reason) *reason = "refused by the driver: " + *reason;
    return reason;
  }

  // True if the driver took the block as it was planned, or does not report what it took.
  bool Received(const DspBlock& planned) {
    if (!evidence_.received) return true;
    const auto& received = *evidence_.received;
    const auto found = std::find_if(received.rbegin(), received.rend(), IsFor(planned));
    if (found == received.rend()) {
      const char* const unsent = status_ == orv_apo::kAborted
                                     ? "not sent: the write was abandoned before it"
                                     : "the driver did not receive it";
      differences_.push_back(
          WholeBlock(planned, Refusal(request::kParameter, planned.parameter).value_or(unsent)));
      return false;
    }
    const std::size_t before = differences_.size();
    Add(CompareBlocks(planned, *found));
    if (found->selector != planned.selector)
      differences_.push_back(
          NumbersDiffer(planned, planned.driver == kQualcommDriver ? "form factor" : "apply flag",
                        planned.selector, found->selector));
    return differences_.size() == before;
  }

  void ReadBack(const DspBlock& planned) {
    if (!evidence_.CanRead(plan_.driver)) return;
    const DspReadback::Answer answer = evidence_.readback->Read(planned);
    if (answer.block) return Add(CompareBlocks(planned, *answer.block));
    differences_.push_back(WholeBlock(planned, "not read back: " + answer.reason));
  }

  void CompareModule(bool planned) {
    DspDifference difference{
        "module", "module status", planned, std::nullopt, OnOff(planned), "", "", ""};
    if (const auto refusal = Refusal(request::kStatus, 0)) {
      difference.reason = *refusal;
    } else if (!evidence_.CanRead(plan_.driver)) {
      return;
    } else if (const auto held = evidence_.readback->ReadModule(plan_.driver)) {
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

// Shows on a terminal how far a slow driver is, from the second second on; clears it at the end.
class Progress : boost::noncopyable {
 public:
  Progress(const DspReadback& readback, std::size_t blocks) {
    if (ErrorsAreOnTerminal())
      thread_ = std::thread([this, &readback, blocks] { Show(readback, blocks); });
  }
  ~Progress() {
    done_.Set();
    if (thread_.joinable()) thread_.join();
  }

 private:
  void Show(const DspReadback& readback, std::size_t blocks) {
    constexpr char kClearLine[] = "\r\x1b[K";
    if (done_.Wait(std::chrono::seconds(1))) return;
    do {
      const auto received = readback.Received();
      const std::size_t now = received ? std::min(received->size() + 1, blocks) : 0;
      const std::string place =
          received ? fmt::format("block {} of {}", now, blocks) : Counted(blocks, "block");
      WriteToErrors(kClearLine + ("Sending " + place + " ..."));
    } while (!done_.Wait(std::chrono::milliseconds(200)));
    WriteToErrors(kClearLine);
  }

  Event done_{Event::Kind::ManualReset};
  std::thread thread_;
};

// The latest record of every parameter, in the order of their first arrival.
std::vector<DspBlock> Latest(const std::vector<DspBlock>& records) {
  std::vector<DspBlock> blocks;
  for (const DspBlock& record : records) {
    const auto known = std::ranges::find_if(blocks, IsFor(record));
    if (known != blocks.end()) {
      *known = record;
    } else {
      blocks.push_back(record);
    }
  }
  return blocks;
}

void ShowBlock(Output& output, const DspBlock& block) {
  output.Line(output.Painted(BlockName(block), ansi::kBold) + ", " +
              Counted(block.bytes.size(), "byte"));
  Table table = FieldTable();
  std::size_t others = 0;
  for (const DecodedField& field : DecodeBlock(block)) {
    if (IsControl(field)) {
      AddField(table, field, true);
    } else {
      ++others;
    }
  }
  if (!table.empty()) output.Show(table, 2);
  if (others != 0)
    output.Line(output.Painted("  " + Counted(others, "coefficient, fixed or reserved number",
                                              "coefficients, fixed and reserved numbers"),
                               ansi::kDim));
}

Table DifferenceTable(const std::vector<DspDifference>& differences) {
  Table table({{"BLOCK"},
               {"CONTROL"},
               {"PLANNED", Align::Right},
               {"HELD", Align::Right},
               {"ERROR", Align::Right}});
  for (const DspDifference& difference : differences)
    if (difference.reason.empty())
      table.Add({difference.block, difference.control, difference.sent_text,
                 Cell(difference.read_text, ansi::kBad), difference.error});
  return table;
}

// One line for each block that is not in the DSP.
std::string ReasonLines(const std::vector<DspDifference>& differences) {
  std::string lines;
  for (const DspDifference& difference : differences)
    if (!difference.reason.empty())
      lines += (lines.empty() ? "  " : "\n  ") + difference.block + ": " + difference.reason;
  return lines;
}

const char* VerdictWord(const PushOutcome& outcome) {
  if (outcome.differs() || outcome.blocks.empty()) return "differs";
  constexpr const char* kWords[] = {"sent, not read back", "received", "verified"};
  return kWords[static_cast<std::size_t>(outcome.proof)];
}

}  // namespace

PushOutcome ComparePush(const DspPlan& plan, HRESULT status, const DspEvidence& evidence) {
  PushOutcome outcome;
  outcome.status = status;
  if (evidence.received) outcome.proof = Proof::Received;
  if (evidence.CanRead(plan.driver)) outcome.proof = Proof::ReadBack;
  outcome.blocks = evidence.received ? Latest(*evidence.received) : plan.blocks;
  outcome.module = plan.module.has_value();
  outcome.kept = plan.kept;
  outcome.differences = Comparison(plan, status, evidence).Run();
  return outcome;
}

PushOutcome RunPush(DspReadback& readback, const DspPlan& plan,
                    const std::function<HRESULT()>& push) {
  const HRESULT status = [&] {
    const Progress progress(readback, plan.blocks.size());
    return push();
  }();
  PushOutcome outcome = ComparePush(plan, status, {readback.Received(), &readback});
  outcome.findings = readback.Findings(plan.driver);
  return outcome;
}

void SettlePush(Context& context, const PushOutcome& outcome, const std::string& asked,
                const std::string& remedy) {
  const bool abandoned = outcome.status == orv_apo::kAborted;
  if (FAILED(outcome.status) && (abandoned || outcome.refused())) {
    const std::string reasons = ReasonLines(outcome.differences);
    ComponentFailure(asked, outcome.status, reasons.empty() ? remedy : reasons + "\n" + remedy);
  }
  if (outcome.differs() || outcome.blocks.empty()) context.exit_status = kDiffering;
  if (outcome.differs() && outcome.differences.empty())
    context.output.Notice(
        "The component read back other bytes than it sent; read again, everything is as planned. "
        "-v shows every byte that differed.");
}

Json ToJson(const PushOutcome& outcome) {
  Json blocks = Json::array();
  for (const DspBlock& block : outcome.blocks) blocks.push_back(BlockName(block));
  Json differences = Json::array();
  const auto number = [](const auto& held) { return held ? Json(*held) : Json(); };
  for (const DspDifference& difference : outcome.differences) {
    Json entry = {{"block", difference.block},
                  {"control", difference.control},
                  {"sent", number(difference.sent)},
                  {"read", number(difference.read)}};
    if (!difference.reason.empty()) {
      entry["reason"] = difference.reason;
    } else {
      entry["sent_text"] = difference.sent_text;
      entry["read_text"] = difference.read_text;
      entry["error"] = difference.error;
    }
    differences.push_back(std::move(entry));
  }
  return {{"status", static_cast<std::uint32_t>(outcome.status)},
          {"verdict", VerdictWord(outcome)},
          {"blocks", std::move(blocks)},
          {"differences", std::move(differences)},
          {"remarks", outcome.findings}};
}

std::string VerdictText(const PushOutcome& outcome) {
  if (outcome.blocks.empty()) return "The driver took nothing.";
  if (outcome.differs()) return "The DSP does not hold what was planned.";
  constexpr const char* kTexts[] = {
      "Sent, not read back: {}. This driver does not report what it took.",
      "Received as planned: {}. This driver cannot be read back.",
      "Verified: {}, each taken and read back as planned."};
  const std::string blocks =
      Counted(outcome.blocks.size(), "block") + (outcome.module ? " and the module's status" : "");
  return fmt::format(fmt::runtime(kTexts[static_cast<std::size_t>(outcome.proof)]), blocks);
}

void ShowPush(Context& context, const PushOutcome& outcome, bool with_blocks) {
  Output& output = context.output;
  if (with_blocks)
    for (const DspBlock& block : outcome.blocks) ShowBlock(output, block);
  for (const DspPlan::Gap& gap : outcome.kept)
    output.Line(BlockName(gap.block) + " stays as it is: " + gap.reason);
  const Table table = DifferenceTable(outcome.differences);
  const std::string reasons = ReasonLines(outcome.differences);
  output.Line(outcome.differs() ? output.Painted(VerdictText(outcome), ansi::kBad)
                                : VerdictText(outcome));
  if (!table.empty()) output.Show(table, 2);
  if (!reasons.empty()) output.Line(reasons);
  for (const std::string& finding : outcome.findings) output.Line("Finding: " + finding);
}

void WarnOfDifferences(Context& context, const PushOutcome& outcome) {
  std::string text;
  if (const Table table = DifferenceTable(outcome.differences); !table.empty())
    text = "\n" + table.Text(false, 2);
  if (text.ends_with('\n')) text.pop_back();
  if (const std::string reasons = ReasonLines(outcome.differences); !reasons.empty())
    text += "\n" + reasons;
  if (!text.empty()) context.output.Notice("The DSP does not hold what was planned:" + text);
  for (const std::string& finding : outcome.findings) context.output.Notice("Finding: " + finding);
}

}  // namespace orv::cli
