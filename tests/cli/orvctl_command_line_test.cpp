#include <sstream>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

// The names that a help text lists as commands.
std::vector<std::string> CommandsIn(const std::string& help) {
  std::vector<std::string> names;
  std::istringstream lines(help.substr(std::min(help.find("Subcommands:"), help.size())));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && line.starts_with("  "))
    if (line[2] != ' ') names.push_back(line.substr(2, line.find(' ', 2) - 2));
  return names;
}

void ExpectExamples(const ProgramOnMachine& program, const Arguments& command) {
  Arguments arguments = command;
  arguments.push_back("--help");
  const Result help = program.Run(arguments);
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.output.find("Example:\n  "), std::string::npos) << help.output;
  for (const std::string& next : CommandsIn(help.output)) {
    Arguments deeper = command;
    deeper.push_back(next);
    ExpectExamples(program, deeper);
  }
}

TEST(CommandLine, EveryCommandsHelpHasAnExample) {
  const ProgramOnMachine program;
  ASSERT_GE(CommandsIn(program.Run({"--help"}).output).size(), 15U);
  ExpectExamples(program, {});
}

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
                             {"image", "decode"}};
  for (const Arguments& line : lines) {
    const Result result = program.Run(line);
    EXPECT_EQ(result.status, 2) << result.errors;
    EXPECT_FALSE(result.errors.empty());
  }
}

TEST(CommandLine, RefusedMachineIsExplainedByFileAndLine) {
  const ProgramOnMachine program;
  WriteText(program.machine() / "machine.json", "{\n  \"version\": \"10.0\",\n  oops\n}\n");
  const Result result = program.Run({"endpoints"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.Says("machine.json:3:")) << result.errors;
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
