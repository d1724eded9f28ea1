#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

TEST(OrvctlImage, BytesPassTheStandardStreamsAndACutImageIsReportedWithItsOffset) {
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
  EXPECT_TRUE(cut.Reports("offset 19")) << cut.errors;
}

// Names of files in letters of several scripts.
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
  EXPECT_TRUE(refused.Reports("mäschine 中 is refused")) << refused.errors;
  EXPECT_TRUE(refused.Reports("machine.json:2:")) << refused.errors;

  const std::string entries = program.File("einträge.json");
  const std::string image = program.File("süß.bin");
  WriteText(entries, R"([{"name": "a", "kind": "int", "value": 1}])");
  EXPECT_EQ(program.Run({"image", "encode", entries, "--output", image}).status, 0);
  EXPECT_EQ(FileText(image).size(), 19U);
  EXPECT_EQ(program.Answer({"image", "decode", image}), Json::parse(FileText(entries)));
  const Result missing = program.Run({"check", program.File("möhre.xml")});
  EXPECT_TRUE(missing.Reports("möhre.xml cannot be opened")) << missing.errors;
}

}  // namespace
}  // namespace orv::cli
