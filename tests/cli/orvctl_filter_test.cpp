#include <regex>

#include "cli/offline/response_plot.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

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
