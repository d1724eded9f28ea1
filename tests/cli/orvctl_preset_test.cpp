#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

constexpr char kLevel[] = "VQ3D-DPHD Level";

class OrvctlPreset : public testing::Test {
 protected:
  std::string Saved() {
    const std::string file = program_.File("präset 中.json");
    EXPECT_EQ(program_.Run({"save", "0", file}).status, 0);
    return file;
  }
  Json State() { return program_.Answer({"save", "0", "-"}); }

  ProgramOnComponent program_;
};

TEST_F(OrvctlPreset, LoadBringsBackEverythingThatWasSaved) {
  const std::string file = Saved();
  const Json before = State();
  program_.Answer({"set", "0", kLevel, "1"});
  program_.Answer({"set", "0", "VQ3D-Main Tech", "VQ3D-DPHD", "--mode", "Game/Headphones"});
  program_.Answer({"mode", "0", "Voice"});
  program_.Answer({"enable", "0", "off"});

  const Json planned = program_.Answer({"load", "0", file, "--dry-run"});
  ASSERT_EQ(planned.size(), 4U);
  EXPECT_EQ(Keys(planned[0]), (std::vector<std::string>{"mode", "name", "from", "to"}));
  EXPECT_NE(State(), before);
  EXPECT_EQ(program_.Answer({"load", "0", file}), planned);
  EXPECT_EQ(State(), before);
  EXPECT_TRUE(program_.Answer({"load", "0", file}).empty());
}

TEST_F(OrvctlPreset, WhatDoesNotFitIsToldAndOnlyTheLenientLoadTheRest) {
  const Json before = State();
  const std::string file = program_.File("other.json");
  WriteText(file, "{\"version\": 1, \"enabled\": false,\n \"modes\": [{\n");
  const Result broken = program_.Run({"load", "0", file});
  EXPECT_EQ(broken.status, 1);
  EXPECT_TRUE(broken.Says("other.json:3:")) << broken.errors;
  EXPECT_EQ(program_.Run({"load", "0", program_.File("missing")}).status, 1);

  WriteText(file,
            "{\"version\": 1, \"current_mode\": \"ApoOpMode:Concert/Hall\", \"modes\": [\n"
            "  {\"name\": \"ApoOpMode:Game/Internal\", \"controls\": {\"VQ3D-DPHD Level\": 7,\n"
            "    \"VQ3D-DC Level\": 500, \"Unheard Of\": 1, \"VQ3D-Main Tech\": \"Unheard Of\"}},\n"
            "  {\"name\": \"ApoOpMode:Concert/Hall\", \"controls\": {}}]}\n");
  const Result refused = program_.Run({"load", "0", file});
  EXPECT_EQ(refused.status, 3);
  for (const char* problem :
       {"Concert/Hall", "500 is outside", "\"Unheard Of\" in", "VQ3D-Main Tech"})
    EXPECT_TRUE(refused.Says(problem)) << problem << refused.errors;
  EXPECT_EQ(State(), before);

  const Json changes = program_.Answer({"load", "0", file, "--lenient"});
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0]["to"], 7);
}

TEST_F(OrvctlPreset, WithoutTheTechnologyLibraryTextsAreLeftOutRatherThanLost) {
  const std::string file = program_.File("numbers.json");
  const Result saved = program_.Run({"save", "0", file, "--technology", "C:\\Nowhere"});
  EXPECT_EQ(saved.status, 0);
  EXPECT_TRUE(saved.Says("VQ3D-Main Tech"));
  EXPECT_TRUE(program_.Answer({"load", "0", file}).empty());
}

}  // namespace
}  // namespace orv::cli
