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

}  // namespace
}  // namespace orv::cli
