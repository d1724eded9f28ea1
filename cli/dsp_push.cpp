#include "cli/dsp_push.h"

#include <algorithm>

#include "intel_dsp/skylake/block_tables.h"
#include "platform/simulated/drivers/driver_requests.h"

namespace orv::cli {
namespace {

void ShowBlock(Output& output, const DspBlock& block) {
  output.Line(output.Painted(BlockName(block), ansi::kBold) + ", " +
              std::to_string(block.bytes.size()) + " bytes");
  Table table({{"OFFSET", Align::Right}, {"CONTROL"}, {"VALUE", Align::Right}, {"MEANS"}});
  std::size_t others = 0;
  for (const DecodedField& field : DecodeBlock(block)) {
    if (IsControl(field)) {
      table.Add({std::to_string(field.offset), field.control, std::to_string(field.value),
                 Cell(field.text, ansi::kAccent)});
    } else {
      ++others;
    }
  }
  if (!table.empty()) output.Show(table, 2);
  if (others != 0)
    output.Line(output.Painted(
        "  " + std::to_string(others) + " coefficients, fixed and reserved numbers", ansi::kDim));
}

Table DifferenceTable(const std::vector<DspDifference>& differences) {
  Table table({{"BLOCK"},
               {"CONTROL"},
               {"SENT", Align::Right},
               {"READ", Align::Right},
               {"ERROR", Align::Right}});
  for (const DspDifference& difference : differences)
    table.Add({difference.block, difference.control, difference.sent_text,
               Cell(difference.read_text, ansi::kBad), difference.error});
  return table;
}

}  // namespace

PushOutcome PushAndLook(DspReadback* readback, const std::function<HRESULT()>& push) {
  PushOutcome outcome;
  outcome.status = push();
  if (readback == nullptr) return outcome;
  outcome.looked_into = true;
  outcome.blocks = readback->Received();
  outcome.differences = CompareWithDriver(*readback, outcome.blocks);
  return outcome;
}

void Judge(Context& context, const PushOutcome& outcome, const std::string& asked,
           const std::string& remedy) {
  const bool nothing_arrived = outcome.looked_into && outcome.blocks.empty();
  if (FAILED(outcome.status) && (outcome.status != E_FAIL || nothing_arrived))
    ComponentFailure(asked, outcome.status, remedy);
  if (!outcome.differs()) return;
  context.exit_status = kDiffering;
  if (!outcome.looked_into) {
    context.output.Remark("What was read back differs from what was sent; -v names every byte.");
  } else if (outcome.differences.empty()) {
    context.output.Remark(
        "The component read back something else than it sent; read again, everything is as sent. "
        "-v names every byte it met.");
  }
}

Json ToJson(const PushOutcome& outcome) {
  Json blocks = Json::array();
  for (const DspBlock& block : outcome.blocks) blocks.push_back(BlockName(block));
  Json differences = Json::array();
  for (const DspDifference& difference : outcome.differences) {
    differences.push_back({{"block", difference.block},
                           {"control", difference.control},
                           {"sent", difference.sent},
                           {"read", difference.read},
                           {"sent_text", difference.sent_text},
                           {"read_text", difference.read_text},
                           {"error", difference.error}});
  }
  return {{"status", static_cast<std::uint32_t>(outcome.status)},
          {"blocks", std::move(blocks)},
          {"differences", std::move(differences)}};
}

void ShowPush(Context& context, const PushOutcome& outcome) {
  Output& output = context.output;
  for (const DspBlock& block : outcome.blocks) ShowBlock(output, block);
  if (outcome.looked_into && outcome.blocks.empty()) output.Line("Nothing was sent.");
  if (!outcome.differences.empty()) {
    output.Line("");
    output.Line(output.Painted("Differs from what was sent:", ansi::kBad));
    output.Show(DifferenceTable(outcome.differences), 2);
  } else if (!outcome.differs()) {
    output.Line("Verified: " + (outcome.looked_into ? std::to_string(outcome.blocks.size()) +
                                                          " blocks, each read back as it was sent."
                                                    : std::string("read back as it was sent.")));
  }
}

void AddUnsentBlocks(PushOutcome& outcome) {
  const bool skylake = !outcome.blocks.empty() && outcome.blocks.front().driver == kSkylakeDriver;
  if (outcome.status != E_FAIL || !skylake) return;
  for (const SkylakeBlock& block : kSkylakeBlocks) {
    const bool sent =
        std::any_of(outcome.blocks.begin(), outcome.blocks.end(),
                    [&](const DspBlock& other) { return other.parameter == block.parameter; });
    if (!sent)
      outcome.differences.push_back({block.name, "the whole block", 0, 1,
                                     "not sent: the mode lacks controls, or one is out of range",
                                     "as it was", ""});
  }
}

void RemarkDifferences(Context& context, const PushOutcome& outcome) {
  if (outcome.differences.empty()) return;
  context.output.Remark("Differs from what was sent:\n" +
                        DifferenceTable(outcome.differences).Text(false, 2));
}

}  // namespace orv::cli
