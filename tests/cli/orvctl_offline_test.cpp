#include <map>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

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

TEST(OrvctlImage, BytesPassTheStandardStreamsAsTheyAre) {
  const ProgramOnMachine program;
  const Json entries = {{{"name", "a"}, {"kind", "int"}, {"value", 0x0A1A0D0A}},
                        {{"name", "b"}, {"kind", "int"}, {"value", 1}}};
  WriteText(program.File("entries.json"), entries.dump());
  const std::string bytes = program.Run({"image", "encode", program.File("entries.json")}).output;
  EXPECT_EQ(bytes.size(), 38U);
  WriteText(program.File("image.bin"), bytes);
  const Result decoded = program.Run({"--json", "image", "decode", "-"}, program.Path("image.bin"));
  EXPECT_EQ(decoded.status, 0) << decoded.errors;
  EXPECT_EQ(decoded.json(), entries);
  EXPECT_EQ(program.Run({"completion", "bash"}).output.find('\r'), std::string::npos);
}

// Names as people give them, in letters of several scripts.
TEST(OrvctlFiles, NamesMayHaveAnyLetters) {
  const ProgramOnMachine program;
  const std::string machine = program.File("mäschine 中");
  EXPECT_EQ(
      program.Answer({"machine", "new", machine, "--from", PathText(program.machine())})["path"],
      machine);
  EXPECT_TRUE(std::filesystem::exists(program.Path("mäschine 中") / "machine.json"));
  EXPECT_TRUE(program.Answer({"--machine", machine, "machine", "drivers"}).is_array());
  WriteText(program.Path("mäschine 中") / "machine.json", "oops");
  const Result refused = program.Run({"--machine", machine, "machine", "drivers"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.Says("mäschine 中 is refused")) << refused.errors;

  const std::string entries = program.File("einträge.json");
  const std::string image = program.File("süß.bin");
  WriteText(entries, R"([{"name": "a", "kind": "int", "value": 1}])");
  EXPECT_EQ(program.Run({"image", "encode", entries, "--output", image}).status, 0);
  EXPECT_EQ(FileText(image).size(), 19U);
  EXPECT_EQ(program.Answer({"image", "decode", image}), Json::parse(FileText(entries)));
  const Result missing = program.Run({"check", program.File("möhre.xml")});
  EXPECT_TRUE(missing.Says("möhre.xml cannot be opened")) << missing.errors;
}

TEST(OrvctlImage, WhatIsNoImageOrNoJsonIsRefused) {
  const ProgramOnMachine program;
  WriteText(program.File("odd"), "[{\"name\": 1}]");
  EXPECT_EQ(program.Run({"image", "encode", program.File("odd")}).status, 1);
  WriteText(program.File("odd"), "no json");
  EXPECT_EQ(program.Run({"image", "encode", program.File("odd")}).status, 1);
  EXPECT_EQ(program.Run({"image", "decode", "--hex", program.File("odd")}).status, 1);
  EXPECT_EQ(program.Run({"image", "decode", PathText(program.machine())}).status, 1);
}

TEST(OrvctlCheck, ExitStatusTellsCleanFindingsAndUnreadable) {
  const ProgramOnMachine program("broken");
  const std::string files = PathText(program.machine() / "drive_c");
  const Result clean =
      program.Run({"--json", "check", files + "/Program Files/ORV Labs/APO/orv_apo_config.xml"});
  EXPECT_EQ(clean.status, 0) << clean.output;
  EXPECT_EQ(Keys(clean.json()), (std::vector<std::string>{"status", "modes", "findings"}));
  const std::string data = files + "/ProgramData/ORV Labs/APO/";
  const Result messy = program.Run({"--json", "check", data + "messy.xml"});
  EXPECT_EQ(messy.status, 3);
  EXPECT_EQ(program.Run({"check", data + "unclosed.xml"}).status, 3);
  EXPECT_EQ(program.Run({"check", data + "nowhere.xml"}).status, 1);

  std::map<std::string, std::size_t> codes;
  const Json report = messy.json();
  for (const Json& finding : report["findings"]) ++codes[finding["code"]];
  EXPECT_EQ(codes["unknown-control"], 1U);
  EXPECT_EQ(codes["value-out-of-range"], 3U);
  EXPECT_EQ(codes["duplicate-mode"], 1U);
}

TEST(OrvctlMachine, NewMachineStartsFromASampleAndNeverOverAnotherFolder) {
  const ProgramOnMachine program;
  const std::string folder = program.File("fresh");
  EXPECT_EQ(
      program.Answer({"machine", "new", folder, "--from", PathText(program.machine())})["path"],
      folder);
  const std::string empty = program.File("empty");
  std::filesystem::create_directory(program.Path("empty"));
  program.Answer({"machine", "new", empty, "--from", PathText(program.machine())});
  EXPECT_EQ(program.Run({"--machine", empty, "machine", "drivers"}).status, 0);
  const Result again =
      program.Run({"machine", "new", folder, "--from", PathText(program.machine())});
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(
      program.Run({"machine", "new", program.File("x"), "--from", program.File("none")}).status, 1);
  EXPECT_FALSE(std::filesystem::exists(program.Path("x")));
  EXPECT_EQ(program.Run({"--machine", folder, "machine", "drivers"}).status, 0);
}

}  // namespace
}  // namespace orv::cli
