#include <algorithm>
#include <thread>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

constexpr char kMovie[] = "ApoOpMode:Movie/Internal";
constexpr char kLevel[] = "VQ3D-DPHD Level";

TEST(Orvctl, OneControlIsSetWithinItsRangeAndReadBack) {
  const ProgramOnComponent program;
  const Json set = program.Answer({"set", "0", kLevel, "12", "--mode", "Game/Internal"});
  EXPECT_EQ(Keys(set), (std::vector<std::string>{"name", "display", "value", "text", "unit", "min",
                                                 "max", "scale", "choices"}));
  EXPECT_EQ(set["value"], 12);
  EXPECT_EQ(program.Answer({"get", "0", kLevel, "--mode", "Game/Internal"}), set);
  const Json before = program.Answer({"get", "0", kLevel});
  EXPECT_NE(before["value"], 12);
  for (const char* value : {"101", "-1", "2147483648", "12.5", ""})
    EXPECT_EQ(program.Run({"set", "0", kLevel, value}).status, 2) << value;
  EXPECT_EQ(program.Answer({"get", "0", kLevel}), before);
  EXPECT_EQ(program.Answer({"set", "0", kLevel, "101", "--force"})["value"], 101);

  const Json by_text = program.Answer({"set", "0", "VQ3D-Main Tech", "vq3d-amhd"});
  EXPECT_EQ(by_text["text"], "VQ3D-AMHD");
  EXPECT_EQ(program.Answer({"set", "0", "VQ3D-Main Tech", "2"}), by_text);
}

TEST(Orvctl, ProcessesAtTheSameTimeKeepOneAnothersChanges) {
  const ProgramOnComponent program;
  const std::string loaded = "VQ3D-Ambiwide Level", preset = program.File("preset.json");
  const std::string names[] = {kLevel, "VQ3D-DC Level", loaded, "VQ3D-Definition Level"};
  for (const std::string value : {"11", "12"}) {
    WriteText(preset, R"({"version": 1, "modes": [{"name": "ApoOpMode:Movie/Internal",
        "controls": {"VQ3D-Ambiwide Level": )" +
                          value + "}}]}");
    std::vector<std::thread> processes;
    for (const std::string& name : names) {
      processes.emplace_back([&] {
        const Arguments set = {"set", "0", name, value, "--mode", kMovie};
        const Arguments load = {"load", "0", preset};
        const StreamFiles streams{{}, program.Path(name), program.Path(name + " errors")};
        EXPECT_EQ(RunOrvctl(program.Words(name == loaded ? load : set), streams), 0);
      });
    }
    for (std::thread& process : processes) process.join();
    for (const std::string& name : names)
      EXPECT_EQ(program.Answer({"get", "0", name, "--mode", kMovie})["value"].dump(), value)
          << name;
  }
}

TEST(Orvctl, RestoreBringsAModesDefaultsBack) {
  const ProgramOnComponent program;
  program.Answer({"set", "0", kLevel, "3"});
  const Json changed = program.Answer({"controls", "0", "--changed"});
  const Json planned = program.Answer({"restore", "0", "--dry-run"});
  EXPECT_EQ(program.Answer({"controls", "0", "--changed"}), changed);
  EXPECT_EQ(program.Answer({"restore", "0"}), planned);
  ASSERT_EQ(planned.size(), changed.size());
  for (std::size_t i = 0; i < planned.size(); ++i) {
    EXPECT_EQ(planned[i]["from"], changed[i]["value"]);
    EXPECT_EQ(planned[i]["to"], changed[i]["default"]);
  }
  const Json defaults = program.Answer({"controls", "0", "--list", "default"});
  for (const Json& control : program.Answer({"controls", "0"}))
    EXPECT_NE(std::find(defaults.begin(), defaults.end(), control), defaults.end()) << control;
}

TEST(Orvctl, RegistrationLeavesNothingBehind) {
  const ProgramOnComponent program;
  for (const bool user : {false, true}) {
    const Arguments add = user ? Arguments{"register", "--user"} : Arguments{"register"};
    const Arguments remove = user ? Arguments{"unregister", "--user"} : Arguments{"unregister"};
    const Json added = program.Answer(add)["keys"];
    EXPECT_GE(added.size(), 12U);
    const std::string root = user ? "HKEY_CURRENT_USER\\" : "HKEY_CLASSES_ROOT\\";
    EXPECT_EQ(added[0].get<std::string>().find(root), 0U);
    EXPECT_EQ(program.Answer(remove)["keys"], added);
    EXPECT_TRUE(program.Answer(remove)["keys"].empty());
  }
}

TEST(Orvctl, DiagnosticLinesGoToStandardErrorOnlyWhenAskedFor) {
  const ProgramOnComponent program;
  EXPECT_TRUE(program.Run({"modes", "0"}).errors.empty());
  const Result verbose = program.Run({"-vv", "--json", "modes", "0"});
  EXPECT_TRUE(verbose.Reports(" | ORVAPOConfigurationFile::Load | "));
  EXPECT_TRUE(verbose.json().is_array());
}

TEST(Orvctl, LoadRestoresEverythingThatWasSaved) {
  const ProgramOnComponent program;
  const std::string file = program.File("präset 中.json");
  const auto state = [&] { return program.Answer({"save", "0", "-"}); };
  EXPECT_EQ(program.Run({"save", "0", file}).status, 0);
  const Json before = state();
  program.Answer({"set", "0", kLevel, "1"});
  program.Answer({"set", "0", "VQ3D-Main Tech", "VQ3D-DPHD", "--mode", "Game/Headphones"});
  program.Answer({"mode", "0", "Voice"});
  program.Answer({"enable", "0", "off"});

  const Json planned = program.Answer({"load", "0", file, "--dry-run"});
  ASSERT_EQ(planned.size(), 4U);
  EXPECT_EQ(Keys(planned[0]), (std::vector<std::string>{"mode", "name", "from", "to", "from_text",
                                                        "to_text", "unit"}));
  EXPECT_NE(state(), before);
  EXPECT_EQ(program.Answer({"load", "0", file}), planned);
  EXPECT_EQ(state(), before);
  EXPECT_TRUE(program.Answer({"load", "0", file}).empty());
}

TEST(OrvctlImage, StoredImageIsDecodedAndEncodedBackByteForByte) {
  const ProgramOnComponent program;
  program.Answer({"set", "0", kLevel, "12"});
  const Json entries = program.Answer({"image", "decode", "--endpoint", "0"});
  const Json level = {{"name", kLevel}, {"kind", "narrow"}, {"value", "12"}};
  EXPECT_NE(std::find(entries.begin(), entries.end(), level), entries.end());
  const std::string file = program.File("entries.json");
  const std::string image = program.File("image");
  WriteText(file, entries.dump());
  EXPECT_EQ(program.Run({"image", "encode", file, "--output", image}).status, 0);
  EXPECT_EQ(program.Answer({"image", "decode", image}), entries);
  WriteText(image, program.Run({"image", "encode", file, "--hex"}).output);
  EXPECT_EQ(program.Answer({"image", "decode", "--hex", image}), entries);
}

}  // namespace
}  // namespace orv::cli
