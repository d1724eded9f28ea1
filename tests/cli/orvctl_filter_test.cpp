#include <regex>

#include "cli/offline/response_plot.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

TEST(OrvctlFilter, PrintsTheWordsOfADesign) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"filter", "bands", "9,1000,1,0", "gain,1000,1,0,1"}),
            (Json{{"status", 0},
                  {"words", {2, 1073741824, 0, 0, 0, 0, 2, -1073741824, 0, 0, 0, 0, 2, 1073741824}},
                  {"silent", false}}));
  EXPECT_EQ(program.Answer({"filter", "butterworth", "--order", "4", "--frequency", "60", "--kind",
                            "highpass", "--bits", "16"})["words"][13],
            26101);
  EXPECT_EQ(
      program.Answer({"filter", "bass", "--audio", "185", "--analysis", "165"})["words"].size(),
      24U);
}

TEST(OrvctlFilter, ResponseTellsTheLargestErrorAndThePoleRadius) {
  const ProgramOnMachine program;
  const Json json = program.Answer(
      {"filter", "butterworth", "--order", "6", "--frequency", "60", "--bits", "16", "--response"});
  EXPECT_LT(json["worst"]["db"], -5);
  EXPECT_NEAR(json["pole_radius"].get<double>(), 0.99798, 1e-4);
}

TEST(OrvctlFilter, DrawsBothCurvesWithTheirAxes) {
  const ProgramOnMachine program;
  const std::string file = program.File("response.svg");
  ASSERT_EQ(
      program.Run({"filter", "bands", "notch,1000,2,0", "gain,20,1,-400", "--svg", file}).status,
      0);
  const std::string svg = FileText(program.Path("response.svg"));
  for (const char* text : {"Magnitude in dB", ">ideal<", ">quantised<", "</svg>"})
    EXPECT_NE(svg.find(text), std::string::npos) << text;
  for (const char* text : {"nan", "inf"}) EXPECT_EQ(svg.find(text), std::string::npos) << text;
}

// The panel reaches from -40 to 40 dB in 120 units.
TEST(OrvctlFilter, DrawnErrorsAreThoseOfTheResponsesAndEndWhereBothAreSilent) {
  const std::string svg = DrawResponse(
      {"", {}, {{"", {{10, -100, -130}, {100, -50, -50}, {1000, -150, -135}, {9000, 0, 0}}}}});
  std::smatch line;
  ASSERT_TRUE(std::regex_search(
      svg, line, std::regex("points='\\S+,(\\S+) \\S+,(\\S+) ' [^>]*error[^>]*>\n<polyline")));
  EXPECT_NEAR(std::stod(line[1]) - std::stod(line[2]), 45, 0.01);
}

}  // namespace
}  // namespace orv::cli
