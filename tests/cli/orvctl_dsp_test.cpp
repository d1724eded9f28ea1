// The commands that talk to DSP drivers, on the sample machines with their simulated drivers.
#include <sstream>

#include "cli/dsp/push.h"
#include "orvctl_program.h"

namespace orv::cli {
namespace {

// Adds a rule to a driver of the machine.
void Misbehave(const ProgramOnMachine& program, const std::string& driver,
               const std::string& rule) {
  const auto path = program.machine() / "machine.json";
  std::string text = FileText(path);
  const std::string head = "\"" + driver + "\": {";
  const std::size_t at = text.find(head);
  ASSERT_NE(at, std::string::npos);
  const std::string rest = text.substr(at + head.size());
  const bool only = rest.find_first_not_of(" \n") == rest.find('}');
  text.insert(at + head.size(), "\"misbehaviour\": [" + rule + "]" + (only ? "" : ","));
  WriteText(path, text);
}

// A command whose plan the driver does not take as a whole, and what is reported of it.
struct Refused {
  const char* sample;   // named after its driver
  const char* rule;     // the driver's misbehaviour: kind, direction, request; may be empty
  const char* before;   // a command that comes first; may be empty
  const char* command;  // words between bars; capitals for "dsp intel 0 push"
  int status;
  const char* words;  // on either stream
};
const Refused kRefused[] = {
    {"skylake-laptop", "refuse set 0x10014404", "", "PUSH", 3,
     "COMMONCONTROLS_CONTROLS_STU: refused"},
    {"skylake-laptop", "absent set 0x1001440E", "", "PUSH", 3, "FILTER_CONTROLS_STU: refused by"},
    {"skylake-laptop", "status set 0x1001440D", "", "PUSH|--tech|HPF", 3, "_STU: refused"},
    {"skylake-laptop", "refuse set 0x10014411", "", "PUSH", 3,
     "COMMON_CNFG_CONTROLS_STU: refused by"},
    {"skylake-laptop", "refuse set status", "", "PUSH", 3, "refuses it with 0xC0000001"},
    {"skylake-laptop", "refuse get 0x10014407", "", "PUSH", 3, "GEQ_CONTROLS_STU: not read back:"},
    {"skylake-laptop", "corrupt get 0x1001440E", "", "PUSH", 3, "not hold what was planned"},
    {"skylake-laptop", "corrupt get 0x10014404", "", "SET|VQ3D-Definition Level|60", 3, "not hold"},
    {"skylake-laptop", "", "set|0|VQ3D-HPF Order|12|--force", "PUSH", 3,
     "Order\" is out of range: 12"},
    {"skylake-laptop", "", "set|0|VQ3D-Bass Gain|40|--force", "PUSH", 3,
     "Gain\" is out of range: 40"},
    {"broken", "", "", "PUSH", 3, "the mode has no value for \"VQ3D-AEQ Enable\""},
    {"broadwell-ultrabook", "refuse set 0x19", "", "PUSH", 3, "Left PEQ coefficients: refused"},
    {"broadwell-ultrabook", "status set 0x19", "", "PUSH|--tech|PEQLEFT", 3,
     "Left PEQ coefficients: ref"},
    {"broadwell-ultrabook", "absent set 0x1A", "", "PEQ|both|100,3,1", 3,
     "Right PEQ coefficients: ref"},
    {"broadwell-ultrabook", "absent set 0x19", "", "PEQ|left|100,3,1", 1, "0x80004005 (refused)"},
    {"broadwell-ultrabook", "absent set 0x15", "", "PUSH", 1,
     "AEQ Enable: not sent: the write was a"},
    {"broadwell-ultrabook", "absent set 0x15", "PUSH", "SET|ZENSND-DC Level|5", 1, "AMHD: refused"},
    {"broadwell-ultrabook", "", "set|0|ZENSND-HPF Order|25|--force", "PUSH", 1,
     "is out of range: 25"},
    {"qualcomm-tablet", "refuse set 0x10005014", "", "dsp|qualcomm|0|push", 3,
     "high-pass: refused by"},
};

Arguments Split(const std::string& text) {
  Arguments words;
  const bool is_dsp = std::isupper(static_cast<unsigned char>(text[0])) != 0;
  if (is_dsp) words = {"dsp", "intel", "0"};
  std::istringstream stream(text);
  for (std::string word; std::getline(stream, word, '|');) words.push_back(word);
  for (char& letter : words[is_dsp ? 3 : 0])
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return words;
}

std::string RuleJson(const std::string& rule) {
  std::string kind, direction, request;
  std::istringstream(rule) >> kind >> direction >> request;
  Json json = {{"kind", kind}, {"request", request}};
  if (kind == "corrupt") json["offset"] = 36;
  if (kind != "corrupt") json["direction"] = direction;
  if (kind == "refuse" || kind == "status") json["status"] = "0xC0000001";
  return json.dump();
}

TEST(OrvctlDsp, BlocksThatTheDriverRefusedAreNotVerified) {
  for (const Refused& one : kRefused) {
    SCOPED_TRACE(testing::Message() << one.sample << " " << one.rule << " " << one.words);
    const std::string sample = one.sample;
    const ProgramOnMachine program(sample);
    if (*one.before != 0) program.Run(Split(one.before));
    if (*one.rule != 0) Misbehave(program, sample.substr(0, sample.find('-')), RuleJson(one.rule));
    const Result result = program.Run(Split(one.command));
    EXPECT_EQ(result.status, one.status);
    const std::string text = result.output + result.errors;
    EXPECT_NE(text.find(one.words), std::string::npos) << text;
    EXPECT_EQ(text.find("Verified"), std::string::npos);
  }
}

TEST(OrvctlDsp, VerdictDoesNotDependOnTheNumberOfKeptRecords) {
  const ProgramOnMachine program("broadwell-ultrabook");
  program.Answer({"dsp", "intel", "0", "push"});
  const auto file = program.machine() / "drivers.json";
  Json memory = Json::parse(FileText(file));
  Json record = memory["received"].back();
  while (memory["received"].size() < 600) {
    memory["requests"] = record["number"] = memory["requests"].get<int>() + 1;
    memory["received"].push_back(record);
  }
  WriteText(file, memory.dump());
  const Arguments push = {"dsp", "intel", "0", "push", "--tech", "PEQLEFT"};
  EXPECT_EQ(program.Answer(push)["blocks"].size(), 1U);
  Misbehave(program, "broadwell", RuleJson("absent set 0x19"));
  EXPECT_EQ(program.Run(push).status, 3);
}

// A driver that reports nothing, as on a machine that is not simulated.
TEST(OrvctlDsp, WithoutEvidenceNothingIsVerified) {
  DspPlan plan;
  plan.blocks = {{"qualcomm", 0x10005011, std::vector<std::byte>(4), 2}};
  EXPECT_EQ(VerdictText(ComparePush(plan, S_OK, {})),
            "Sent, not read back: 1 block. This driver does not report what it took.");
  EXPECT_EQ(ToJson(ComparePush(plan, S_OK, {}))["verdict"], "sent, not read back");
  EXPECT_EQ(ToJson(ComparePush({}, S_OK, {}))["verdict"], "differs") << "nothing to send";
  DspEvidence evidence;
  evidence.received = plan.blocks;
  EXPECT_FALSE(ComparePush(plan, S_OK, evidence).differs());
  evidence.received->front().selector = 1;
  const PushOutcome outcome = ComparePush(plan, S_OK, evidence);
  ASSERT_EQ(outcome.differences.size(), 1U);
  EXPECT_EQ(outcome.differences[0].control, "form factor");
  evidence.received->clear();
  EXPECT_EQ(ToJson(ComparePush(plan, S_OK, evidence))["differences"],
            Json::parse(R"([{"block": "flags", "control": "the whole block", "sent": null,
                             "read": null, "reason": "the driver did not receive it"}])"));
}

}  // namespace
}  // namespace orv::cli
