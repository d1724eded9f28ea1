#include <map>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

TEST(OrvctlImage, BytesPassTheStandardStreamsAndACutImageTellsWhereItEnds) {
  const ProgramOnMachine program;
  const Json entries = {{{"name", "a"}, {"kind", "int"}, {"value", 0x0A1A0D0A}},
                        {{"name", "b"}, {"kind", "int"}, {"value", 1}}};
  WriteText(program.File("entries.json"), entries.dump());
  const std::string bytes = program.Run({"image", "encode", program.File("entries.json")}).output;
  ASSERT_EQ(bytes.size(), 38U);
  WriteText(program.File("image.bin"), bytes);
  const Result whole = program.Run({"--json", "image", "decode", "-"}, program.Path("image.bin"));
  EXPECT_EQ(whole.status, 0) << whole.errors;
  EXPECT_EQ(whole.json(), entries);
  EXPECT_EQ(program.Run({"completion", "bash"}).output.find('\r'), std::string::npos);

  WriteText(program.File("cut.bin"), bytes.substr(0, 30));
  const Result cut = program.Run({"--json", "image", "decode", program.File("cut.bin")});
  EXPECT_EQ(cut.status, 3);
  EXPECT_EQ(cut.json(), Json::array({entries[0]}));
  EXPECT_TRUE(cut.Says("offset 19")) << cut.errors;
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
  WriteText(program.Path("mäschine 中") / "machine.json", "{\n  oops\n}\n");
  const Result refused = program.Run({"--machine", machine, "machine", "drivers"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.Says("mäschine 中 is refused")) << refused.errors;
  EXPECT_TRUE(refused.Says("machine.json:2:")) << refused.errors;

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
  for (const char* text : {"[{\"name\": 1}]", "no json"}) {
    WriteText(program.File("odd"), text);
    EXPECT_EQ(program.Run({"image", "encode", program.File("odd")}).status, 1);
  }
  EXPECT_EQ(program.Run({"image", "decode", "--hex", program.File("odd")}).status, 1);
  EXPECT_EQ(program.Run({"image", "decode", PathText(program.machine())}).status, 1);
}

TEST(OrvctlCheck, ExitStatusTellsCleanFindingsAndUnreadable) {
  const ProgramOnMachine program("broken");
  const std::string files = PathText(program.machine() / "drive_c");
  const std::string data = files + "/ProgramData/ORV Labs/APO/";
  const Json clean =
      program.Answer({"check", files + "/Program Files/ORV Labs/APO/orv_apo_config.xml"});
  EXPECT_EQ(Keys(clean), (std::vector<std::string>{"status", "modes", "findings"}));
  EXPECT_EQ(program.Run({"check", data + "unclosed.xml"}).status, 3);
  EXPECT_EQ(program.Run({"check", data + "nowhere.xml"}).status, 1);

  const Result messy = program.Run({"--json", "check", data + "messy.xml"});
  EXPECT_EQ(messy.status, 3);
  std::map<std::string, std::size_t> codes;
  const Json report = messy.json();
  for (const Json& finding : report["findings"]) ++codes[finding["code"]];
  EXPECT_EQ(codes["unknown-control"], 1U);
  EXPECT_EQ(codes["value-out-of-range"], 3U);
}

TEST(OrvctlMachine, NewMachineStartsFromASampleAndNeverOverAnotherFolder) {
  const ProgramOnMachine program;
  const auto make = [&](const std::string& name, const std::string& from) {
    return program.Run({"machine", "new", program.File(name), "--from", from}).status;
  };
  const std::string sample = PathText(program.machine());
  std::filesystem::create_directory(program.Path("empty"));
  for (const char* name : {"fresh", "empty"}) {
    EXPECT_EQ(make(name, sample), 0);
    EXPECT_EQ(make(name, sample), 1);
    EXPECT_EQ(program.Run({"--machine", program.File(name), "machine", "drivers"}).status, 0);
  }
  EXPECT_EQ(make("x", program.File("none")), 1);
  EXPECT_FALSE(std::filesystem::exists(program.Path("x")));
}

}  // namespace
}  // namespace orv::cli
