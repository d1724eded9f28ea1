#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

TEST(CommandLine, MisspeltNamesGiveTwoAndTheNearestKnownName) {
  const ProgramOnComponent program;
  const struct {
    Arguments arguments;
    const char* nearest;
  } cases[] = {
      {{"endpionts"}, "endpoints"},
      {{"image", "decod"}, "decode"},
      {{"get", "0", "VQ3D-DPHD Levle"}, "VQ3D-DPHD Level"},
      {{"set", "0", "vq3d-dphd level", "5"}, "VQ3D-DPHD Level"},
      {{"mode", "0", "ApoOpMode:Misic/Internal"}, "ApoOpMode:Music/Internal"},
      {{"set", "0", "VQ3D-Process Enable", "Enabeld"}, "Enabled"},
      {{"controls", "0", "--list", "privat"}, "private"},
      {{"machine", "new", "nowhere", "--from", "skylake-latpop"}, "skylake-laptop"},
  };
  for (const auto& one : cases) {
    const Result result = program.Run(one.arguments);
    EXPECT_EQ(result.status, 2) << one.nearest;
    EXPECT_TRUE(result.Says(one.nearest)) << result.errors;
    EXPECT_TRUE(result.output.empty());
  }
}

TEST(CommandLine, MissingAndMistakenArgumentsGiveTwo) {
  const ProgramOnComponent program;
  const Arguments lines[] = {{},
                             {"modes"},
                             {"modes", "7"},
                             {"modes", "Generic"},
                             {"enable", "0", "maybe"},
                             {"config", "0", "2"},
                             {"mode", "0", "Movie/Internal", "--default"},
                             {"modes", "0", "--colour"},
                             {"image", "decode"},
                             {"set", "0", "VQ3D-DPHD Level", "7", "--mode", ""},
                             {"restore", "0", "--mode="},
                             {"mode", "0", ""},
                             {"properties", "0", ""},
                             {"", "endpoints"}};
  for (const Arguments& line : lines) {
    const Result result = program.Run(line);
    EXPECT_EQ(result.status, 2) << result.errors;
    EXPECT_FALSE(result.errors.empty());
  }
}

TEST(CommandLine, DiagnosticLinesGoToStandardErrorOnlyWhenAskedFor) {
  const ProgramOnComponent program;
  EXPECT_TRUE(program.Run({"modes", "0"}).errors.empty());
  const Result verbose = program.Run({"-v", "--json", "modes", "0"});
  EXPECT_TRUE(verbose.Says(" | ORVAPOConfigurationFile::Load | "));
  EXPECT_TRUE(verbose.json().is_array());
}

}  // namespace
}  // namespace orv::cli
