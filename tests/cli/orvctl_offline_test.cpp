#include <algorithm>
#include <map>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

TEST(OrvctlImage, WhatTheProcessingObjectReadsIsDecodedAndEncodedBackByteForByte) {
  const ProgramOnMachine program;
  program.Answer({"set", "0", "VQ3D-DPHD Level", "12"});
  const Json entries = program.Answer({"image", "decode", "--endpoint", "0"});
  WriteText(program.File("entries.json"), entries.dump());
  const std::string image = program.File("image.bin").string();
  EXPECT_EQ(
      program.Run({"image", "encode", program.File("entries.json"), "--output", image}).status, 0);
  EXPECT_EQ(program.Answer({"image", "decode", image}), entries);
  WriteText(program.File("image.hex"),
            program.Run({"image", "encode", program.File("entries.json"), "--hex"}).output);
  EXPECT_EQ(program.Answer({"image", "decode", "--hex", program.File("image.hex")}), entries);
  const auto found =
      std::find(entries.begin(), entries.end(),
                Json({{"name", "VQ3D-DPHD Level"}, {"kind", "narrow"}, {"value", "12"}}));
  EXPECT_NE(found, entries.end());
}

TEST(OrvctlImage, CutImageTellsItsEntriesAndWhereItEnds) {
  const ProgramOnMachine program;
  WriteText(
      program.File("entries.json"),
      R"([{"name": "a", "kind": "int", "value": 1}, {"name": "b", "kind": "int", "value": 2}])");
  const std::string whole = program.Run({"image", "encode", program.File("entries.json")}).output;
  ASSERT_EQ(whole.size(), 38U);
  WriteText(program.File("cut.bin"), whole.substr(0, 30));
  const Result result = program.Run({"--json", "image", "decode", program.File("cut.bin")});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.json().size(), 1U);
  EXPECT_TRUE(result.Says("offset 19")) << result.errors;
}

TEST(OrvctlImage, WhatIsNoImageOrNoJsonIsRefused) {
  const ProgramOnMachine program;
  WriteText(program.File("odd"), "[{\"name\": 1}]");
  EXPECT_EQ(program.Run({"image", "encode", program.File("odd")}).status, 1);
  WriteText(program.File("odd"), "no json");
  EXPECT_EQ(program.Run({"image", "encode", program.File("odd")}).status, 1);
  EXPECT_EQ(program.Run({"image", "decode", "--hex", program.File("odd")}).status, 1);
  EXPECT_EQ(program.Run({"image", "decode", program.machine()}).status, 1);
}

TEST(OrvctlCheck, ExitStatusTellsCleanFindingsAndUnreadable) {
  const ProgramOnMachine program("broken");
  const auto files = program.machine() / "drive_c";
  const Result clean = program.Run(
      {"--json", "check", files / "Program Files" / "ORV Labs" / "APO" / "orv_apo_config.xml"});
  EXPECT_EQ(clean.status, 0) << clean.output;
  EXPECT_EQ(Keys(clean.json()), (std::vector<std::string>{"status", "modes", "findings"}));
  const auto data = files / "ProgramData" / "ORV Labs" / "APO";
  const Result messy = program.Run({"--json", "check", data / "messy.xml"});
  EXPECT_EQ(messy.status, 3);
  EXPECT_EQ(program.Run({"check", data / "unclosed.xml"}).status, 3);
  EXPECT_EQ(program.Run({"check", data / "nowhere.xml"}).status, 1);

  std::map<std::string, std::size_t> codes;
  const Json report = messy.json();
  for (const Json& finding : report["findings"]) ++codes[finding["code"]];
  EXPECT_EQ(codes["unknown-control"], 1U);
  EXPECT_EQ(codes["value-out-of-range"], 3U);
  EXPECT_EQ(codes["duplicate-mode"], 1U);
}

TEST(OrvctlMachine, NewMachineStartsFromASampleAndNeverOverAnotherFolder) {
  const ProgramOnMachine program;
  const std::string folder = program.File("fresh").string();
  EXPECT_EQ(program.Answer({"machine", "new", folder, "--from", program.machine()})["path"],
            folder);
  const Result again = program.Run({"machine", "new", folder, "--from", program.machine()});
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(
      program.Run({"machine", "new", program.File("x"), "--from", program.File("none")}).status, 1);
  EXPECT_FALSE(std::filesystem::exists(program.File("x")));
  EXPECT_EQ(program.Answer({"--machine", folder, "endpoints"}).size(), 3U);
}

TEST(OrvctlStory, TheStoryIsToldOnACopy) {
  const ProgramOnMachine program;
  const std::string registry = FileText(program.machine() / "registry.reg");
  const Result story = program.Run({"story"});
  EXPECT_EQ(story.status, 0) << story.errors;
  for (const char* part : {"Operating modes", "before", "after", "HKEY_LOCAL_MACHINE\\",
                           "KEL_PARAM_VQSND3D_COMMONCONTROLS_CONTROLS_STU",
                           "every block is in the DSP as it was sent"})
    EXPECT_NE(story.output.find(part), std::string::npos) << part;
  EXPECT_EQ(story.output.find('\x1b'), std::string::npos);
  EXPECT_EQ(FileText(program.machine() / "registry.reg"), registry);
}

}  // namespace
}  // namespace orv::cli
