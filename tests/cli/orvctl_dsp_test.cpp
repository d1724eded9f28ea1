// The commands that talk to DSP drivers, on the sample machines with their simulated drivers.
#include <algorithm>

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

bool Has(const Json& list, const std::string& text) {
  return std::find(list.begin(), list.end(), Json(text)) != list.end();
}

TEST(OrvctlDsp, PushIntoSkylakeIsReadBack) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "info"})["kind"], "skylake");
  const Json pushed = program.Answer({"dsp", "intel", "0", "push", "--mode", "Music/Internal"});
  EXPECT_EQ(pushed["status"], 0);
  EXPECT_GE(pushed["blocks"].size(), 12U);
  EXPECT_TRUE(Has(pushed["blocks"], "KEL_PARAM_VQSND3D_GEQ_CONTROLS_STU"));
  EXPECT_TRUE(pushed["differences"].empty());
  const Json records = program.Answer({"machine", "drivers"});
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(Keys(records[0]), (std::vector<std::string>{"driver", "parameter", "name", "apply",
                                                        "size", "bytes", "fields"}));
  EXPECT_EQ(Keys(records[0]["fields"][0]),
            (std::vector<std::string>{"offset", "control", "value"}));
  const Result shown = program.Run({"dsp", "intel", "0", "push"});
  EXPECT_EQ(shown.status, 0) << shown.errors;
  EXPECT_NE(shown.output.find("each read back as it was sent"), std::string::npos);
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
  EXPECT_TRUE(Has(pushed["blocks"], "AMHD"));
  EXPECT_TRUE(pushed["differences"].empty()) << pushed;
  const Json file = program.Answer(
      {"dsp", "intel", "0", "file", "C:\\ProgramData\\ORV Labs\\APO\\dsp_bring_up.xml"});
  EXPECT_FALSE(file["blocks"].empty());

  const Json set = program.Answer({"dsp", "intel", "0", "set", "ZENSND-AEQ Enable", "1"});
  EXPECT_EQ(set, Json::parse(R"({"name": "ZENSND-AEQ Enable", "value": 1})"));
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "get", "ZENSND-AEQ Enable"}), set);
  EXPECT_EQ(program.Answer({"dsp", "intel", "0", "peq", "both", "100,3,0.7", "8000,-4,0.7"}),
            Json::parse(R"({"status": 0})"));
}

TEST(OrvctlDsp, FailureIsNamedWithItsStatus) {
  const ProgramOnMachine laptop;
  const ProgramOnMachine tablet("qualcomm-tablet");
  const struct {
    const ProgramOnMachine& program;
    Arguments arguments;
    const char* message;
  } cases[] = {{laptop, {"qualcomm", "0", "push"}, "0x80004001 (not available on this machine)"},
               {tablet, {"intel", "0", "info"}, "opening the Intel DSP"},
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

TEST(OrvctlDsp, RecordThatTheDriverDidNotTakeIsMissed) {
  const ProgramOnMachine program("qualcomm-tablet");
  Misbehave(program, "qualcomm",
            R"({"kind": "refuse", "request": "0x10005014", "status": "0x80070005"})");
  const Result result = program.Run({"--json", "dsp", "qualcomm", "0", "push"});
  EXPECT_EQ(result.status, 3) << result.errors;
  const Json differences = result.json()["differences"];
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0]["block"], "high-pass");
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
