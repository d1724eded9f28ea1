// The commands that talk to DSP drivers, on the sample machines with their simulated drivers.
#include <sstream>

#include "cli/dsp_push.h"
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

TEST(OrvctlDsp, PushIntoSkylakeIsReadBack) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "info"})["kind"], "skylake");
  const Json pushed = program.Answer({"dsp", "intel", "0", "push", "--mode", "Music/Internal"});
  EXPECT_EQ(pushed["status"], 0);
  EXPECT_EQ(pushed["verdict"], "verified");
  const Json records = program.Answer({"machine", "drivers"});
  EXPECT_EQ(Keys(records[0]), (std::vector<std::string>{"driver", "parameter", "name", "apply",
                                                        "size", "bytes", "fields"}));
  EXPECT_EQ(Keys(records[0]["fields"][0]),
            (std::vector<std::string>{"offset", "control", "value"}));
  const Result shown = program.Run({"dsp", "intel", "0", "push"});
  EXPECT_EQ(shown.status, 0) << shown.errors;
  EXPECT_NE(shown.output.find("Verified: 15 blocks and the module's status, each taken and"),
            std::string::npos);
}

TEST(OrvctlDsp, CorruptedAnswerNamesTheFieldAndItsError) {
  const ProgramOnMachine program;
  Misbehave(program, "skylake",
            R"({"kind": "corrupt", "request": "0x1001440B", "offset": 5, "mask": 8})");
  const Result result = program.Run({"--json", "dsp", "intel", "0", "push"});
  EXPECT_EQ(result.status, 3) << result.errors;
  const Json pushed = result.json();
  EXPECT_EQ(pushed["status"], 0x80004005U);
  ASSERT_EQ(pushed["differences"].size(), 1U);
  const Json& difference = pushed["differences"][0];
  EXPECT_EQ(difference["block"], "KEL_PARAM_VQSND3D_HARDLIMITER_CONTROLS_STU");
  EXPECT_EQ(difference["control"], "VQ3D-Hard Limiter Output Gain");
  EXPECT_EQ(difference["sent"].get<int>() ^ difference["read"].get<int>(), 0x800);
  EXPECT_TRUE(std::string(difference["error"]).ends_with(" dB")) << difference;
}

TEST(OrvctlDsp, BroadwellTakesModesFilesAndBands) {
  const ProgramOnMachine program("broadwell-ultrabook");
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "info"})["kind"], "broadwell");
  const Json pushed = program.Answer({"dsp", "intel", "0", "push"});
  EXPECT_EQ(pushed["blocks"].size(), 13U);
  const Json file = program.Answer(
      {"dsp", "intel", "0", "file", "C:\\ProgramData\\ORV Labs\\APO\\dsp_bring_up.xml"});
  EXPECT_FALSE(file["blocks"].empty());

  const Json set = program.Answer({"dsp", "intel", "0", "set", "ZENSND-AEQ Enable", "1"});
  EXPECT_EQ(set,
            Json::parse(R"({"name": "ZENSND-AEQ Enable", "value": 1, "sent": 1, "held": "on"})"));
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "get", "ZENSND-AEQ Enable"}),
            Json::parse(R"({"name": "ZENSND-AEQ Enable", "value": 1})"));
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "peq", "both", "100,3,0.7", "8000,-4,0.7"}),
            Json::parse(R"({"status": 0, "verdict": "verified"})"));
}

TEST(OrvctlDsp, FailureIsNamedWithItsStatus) {
  const ProgramOnMachine laptop;
  const ProgramOnMachine tablet("qualcomm-tablet");
  const struct {
    const ProgramOnMachine& program;
    Arguments arguments;
    const char* message;
  } cases[] = {
      {laptop, {"qualcomm", "0", "push"}, "0x80004001 (no Qualcomm DSP driver)"},
      {tablet, {"intel", "0", "info"}, "This endpoint's DSP is Qualcomm: orvctl dsp qualcomm \""},
      {laptop, {"intel", "0", "peq", "left", "100,3,1"}, "orvctl dsp intel \""},
      {laptop, {"intel", "0", "get", "VQ3D-Tone Enable"}, "0x80004001 (a property"},
      {laptop, {"intel", "0", "file", "missing.xml"}, "cannot be read (load status 6)"}};
  for (const auto& one : cases) {
    Arguments arguments = one.arguments;
    arguments.insert(arguments.begin(), "dsp");
    const Result result = one.program.Run(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.Says(one.message)) << result.errors;
  }
}

TEST(OrvctlDsp, WrongWordsNameTheNearestOne) {
  const ProgramOnMachine program;
  const std::pair<Arguments, std::string> cases[] = {
      {{"dsp", "intel", "0", "push", "--tech", "PEQLEFFT"}, "\"PEQLEFT\""},
      {{"dsp", "intel", "0", "set", "VQ3D-Definition Leve", "3"}, "\"VQ3D-Definition Level\""},
      {{"dsp", "intel", "0", "set", "VQ3D-Main Tech", "nonsense"}, "VQ3D-MXHP"},
      {{"dsp", "intel", "0", "set", "VQ3D-Main Tech", "6"}, "positions 0 to 5"},
      {{"dsp", "intel", "0", "set", "VQ3D-GEQ 100Hz Gain", "151"}, "-150 to 150"},
      {{"dsp", "intel", "0", "set", "VQ3D-DialogClarity Level", "101"}, "0 to 100."},
      {{"dsp", "intel", "0", "set", "VQ3D-Hard Limiter Delay Length", "80"}, "by itself"},
      {{"dsp", "intel", "0", "peq", "lefft", "100,3,1"}, "\"left\""},
      {{"dsp", "intel", "0", "peq", "left", "100,3"}, "freq,gain,q"},
      {{"dsp", "intel", "0", "peq", "left", "24000,3,1"}, "23999"},
      {{"dsp", "qualcomm", "0", "push", "--form-factor", "5"}, "4  bluetooth"},
  };
  for (const auto& [arguments, expected] : cases) {
    const Result result = program.Run(arguments);
    EXPECT_EQ(result.status, 2) << expected << result.errors;
    EXPECT_TRUE(result.Says(expected)) << expected << ": " << result.errors;
  }
}

TEST(OrvctlDsp, QualcommRecordsReachTheDriver) {
  const ProgramOnMachine program("qualcomm-tablet");
  const Json pushed = program.Answer(
      {"dsp", "qualcomm", "0", "push", "--mode", "Music/Internal", "--form-factor", "bluetooth"});
  EXPECT_EQ(pushed["status"], 0);
  const std::vector<std::string> names = {"widening",     "headphone", "high-pass",
                                          "hard limiter", "equaliser", "flags"};
  EXPECT_EQ(pushed["blocks"], Json(names));
  const Json received = program.Answer({"machine", "drivers"});
  ASSERT_EQ(received.size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(received[i]["name"], names[i]);
  EXPECT_EQ(received[0]["form_factor"], 4);
  const Result shown = program.Run({"dsp", "qualcomm", "Headphones", "push"});
  EXPECT_EQ(shown.status, 0) << shown.errors;
  EXPECT_NE(shown.output.find("form factor 2 (headset)"), std::string::npos) << shown.output;
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

TEST(OrvctlDsp, WhatTheDriverDidNotTakeIsNotVerified) {
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

TEST(OrvctlDsp, PropertyThatDependsOnOthersTakesThemFromTheMode) {
  const ProgramOnMachine program;
  const Json set = program.Answer({"dsp", "intel", "0", "set", "VQ3D-DPHD Max Level", "50"});
  EXPECT_EQ(set["held"], "41.3 %");  // of the mode's level, boost and split
}

// A driver that reports nothing, as on a machine that is not simulated.
TEST(OrvctlDsp, WithoutEvidenceNothingIsVerified) {
  DspPlan plan;
  plan.blocks = {{"qualcomm", 0x10005011, std::vector<std::byte>(4), 2}};
  EXPECT_EQ(VerdictText(ComparePush(plan, S_OK, {})),
            "Sent, not read back: 1 block. This driver does not report what it took.");
  EXPECT_EQ(ToJson(ComparePush(plan, S_OK, {}))["verdict"], "sent, not read back");
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

TEST(OrvctlDsp, DriftNamesBlocksThatCannotBeRead) {
  const ProgramOnMachine program("broadwell-ultrabook");
  EXPECT_EQ(program.Run({"--json", "drift", "0"}).json().back()["dsp"],
            "the DSP has received nothing yet");
  program.Answer({"set", "0", "ZENSND-HPF Order", "4"});
  program.Answer({"dsp", "intel", "0", "push"});
  program.Answer({"set", "0", "ZENSND-HPF Order", "6"});
  const Result drifted = program.Run({"--json", "drift", "0"});
  EXPECT_EQ(drifted.status, 3);
  EXPECT_EQ(drifted.json().back()["name"], "HPF coefficients");
  EXPECT_EQ(drifted.json().back()["dsp"], "the driver holds 34 bytes instead of 46");
  EXPECT_EQ(program.Run({"machine", "drivers"}).errors, "");
}

TEST(OrvctlDsp, DriftIsToldControlByControl) {
  for (const bool intel : {true, false}) {
    SCOPED_TRACE(intel);
    const ProgramOnMachine program(intel ? "skylake-laptop" : "qualcomm-tablet");
    const Arguments push = {"dsp", intel ? "intel" : "qualcomm", "0", "push"};
    const std::string control = intel ? "VQ3D-Definition Level" : "QUMEDIA-Definition Level";
    program.Answer({"restore", "0"});
    const std::string mode = program.Answer({"mode", "0"})["name"];
    const Arguments drift = {"--json", "drift", "0", "--mode", mode};
    program.Answer(push);
    EXPECT_EQ(program.Answer({"drift", "0", "--mode", mode}), Json::array());
    const int before = program.Answer({"get", "0", control})["value"];
    program.Answer({"set", "0", control, std::to_string(before + 7)});
    const Result drifted = program.Run(drift);
    EXPECT_EQ(drifted.status, 3) << drifted.errors;
    const Json expected = {{{"mode", mode},
                            {"name", control},
                            {"default", before},
                            {"registry", before + 7},
                            {"dsp", before}}};
    EXPECT_EQ(drifted.json(), expected);

    program.Answer(push);
    EXPECT_EQ(program.Run(drift).json()[0]["dsp"], before + 7);
  }
}

}  // namespace
}  // namespace orv::cli
