#include "cli/dsp/push.h"

#include <algorithm>

namespace orv::cli {
namespace {

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

std::string BlockCount(const PushOutcome& outcome) {
  std::string text = Counted(outcome.blocks.size(), "block");
  if (outcome.module) text += " and the module's status";
  return text;
}

const char* VerdictWord(const PushOutcome& outcome) {
  if (outcome.differs() || outcome.blocks.empty()) return "differs";
  switch (outcome.proof) {
    case Proof::ReadBack:
      return "verified";
    case Proof::Received:
      return "received";
    case Proof::Sent:
      break;
  }
  return "sent, not read back";
}

Json NumberOrNull(const std::optional<std::int64_t>& number) {
  return number ? Json(*number) : Json();
}

}  // namespace

PushOutcome RunPush(DspReadback& readback, const DspPlan& plan,
                    const std::function<HRESULT()>& push) {
  const HRESULT status = push();
  PushOutcome outcome = ComparePush(plan, status, EvidenceOf(readback, plan.driver));
  outcome.remarks = readback.Remarks(plan.driver);
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
    context.output.Remark(
        "The component read back something else than it sent; read again, everything is as "
        "planned. -v names every byte it met.");
}

Json ToJson(const PushOutcome& outcome) {
  Json blocks = Json::array();
  for (const DspBlock& block : outcome.blocks) blocks.push_back(BlockName(block));
  Json differences = Json::array();
  for (const DspDifference& difference : outcome.differences) {
    Json entry = {{"block", difference.block},
                  {"control", difference.control},
                  {"sent", NumberOrNull(difference.sent)},
                  {"read", NumberOrNull(difference.read)}};
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
          {"remarks", outcome.remarks}};
}

std::string VerdictText(const PushOutcome& outcome) {
  if (outcome.blocks.empty()) return "The driver took nothing.";
  if (outcome.differs()) return "The DSP does not hold what was planned.";
  switch (outcome.proof) {
    case Proof::ReadBack:
      return "Verified: " + BlockCount(outcome) + ", each taken and read back as planned.";
    case Proof::Received:
      return "Received as planned: " + BlockCount(outcome) + ". This driver cannot be read back.";
    case Proof::Sent:
      break;
  }
  return "Sent, not read back: " + BlockCount(outcome) +
         ". This driver does not report what it took.";
}

void ShowPush(Context& context, const PushOutcome& outcome) {
  Output& output = context.output;
  for (const DspBlock& block : outcome.blocks) ShowBlock(output, block);
  for (const DspPlan::Gap& gap : outcome.kept)
    output.Line(BlockName(gap.block) + " stays as it is: " + gap.reason);
  const Table table = DifferenceTable(outcome.differences);
  const std::string reasons = ReasonLines(outcome.differences);
  output.Line(outcome.differs() ? output.Painted(VerdictText(outcome), ansi::kBad)
                                : VerdictText(outcome));
  if (!table.empty()) output.Show(table, 2);
  if (!reasons.empty()) output.Line(reasons);
  for (const std::string& remark : outcome.remarks) output.Line("Remark: " + remark);
}

void RemarkDifferences(Context& context, const PushOutcome& outcome) {
  const Table table = DifferenceTable(outcome.differences);
  const std::string reasons = ReasonLines(outcome.differences);
  std::string text;
  if (!table.empty()) text += "\n" + table.Text(false, 2);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (!reasons.empty()) text += "\n" + reasons;
  if (!text.empty()) context.output.Remark("The DSP does not hold what was planned:" + text);
  for (const std::string& remark : outcome.remarks) context.output.Remark("Remark: " + remark);
}

}  // namespace orv::cli
