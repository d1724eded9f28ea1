#include <cmath>

#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

constexpr char kMovie[] = "Movie/Internal";

// The filter of a group; null if there is none.
Json FilterOf(const Json& response, const std::string& group, const std::string& name) {
  for (const Json& one : response["groups"])
    if (one["name"] == group)
      for (const Json& filter : one["filters"])
        if (filter["name"] == name) return filter;
  return nullptr;
}

// Of the filter's points, the one nearest to a frequency.
Json At(const Json& filter, double frequency) {
  Json nearest;
  for (const Json& point : filter["points"])
    if (nearest.is_null() || std::abs(point["frequency"].get<double>() - frequency) <
                                 std::abs(nearest["frequency"].get<double>() - frequency))
      nearest = point;
  return nearest;
}

TEST(OrvctlResponse, DspCurveFollowsThePushAndNotTheModeAfterIt) {
  const ProgramOnMachine program;
  const Arguments ask = {"response", "0", "--mode", kMovie, "--channel", "left"};
  const Json before = FilterOf(program.Answer(ask), "High-pass and equaliser", "left");
  EXPECT_TRUE(At(before, 1000)["dsp"].is_null());
  EXPECT_NEAR(At(before, 10)["ideal"]["db"].get<double>(), -40 * std::log10(150.0 / 10) * 2,
              1.5);  // order 4 at 150 Hz, and little else
  program.Answer({"dsp", "intel", "0", "push", "--mode", kMovie});
  program.Answer({"set", "0", "VQ3D-PEQ Left Band 6 Gain", "10dB", "--mode", kMovie});
  const Json after = FilterOf(program.Answer(ask), "High-pass and equaliser", "left");
  EXPECT_EQ(At(after, 1200)["dsp"], At(before, 1200)["quantised"]);
  EXPECT_NEAR(after["dsp_error"]["db"].get<double>(), -9, 0.1);  // it was 1 dB
  EXPECT_NEAR(after["dsp_error"]["frequency"].get<double>(), 1200, 30);
  EXPECT_LT(std::abs(after["quantising_error"]["db"].get<double>()), 0.01);
}

TEST(OrvctlResponse, FiltersThatAreOffAreLeftOutAndNamed) {
  const ProgramOnMachine program;
  for (const char* name : {"VQ3D-HPF Enable", "VQ3D-AEQ Enable", "VQ3D-DPHD Enable"})
    program.Answer({"set", "0", name, "0"});
  const Json response = program.Answer({"response", "0"});
  const Json chain = FilterOf(response, "High-pass and equaliser", "left and right");
  EXPECT_EQ(At(chain, 20)["quantised"]["db"], 0);
  EXPECT_EQ(At(chain, 20)["ideal"]["db"], 0);
  EXPECT_NE(response["notes"].dump().find("VQ3D-AEQ Enable"), std::string::npos);
}

// What the designs of the component, decoded from the planned blocks, have to agree with.
TEST(OrvctlResponse, EveryFilterOfEveryMachineAgreesWithItsDesign) {
  for (const char* sample : {"skylake-laptop", "broadwell-ultrabook", "qualcomm-tablet"}) {
    const ProgramOnMachine program(sample);
    std::size_t filters = 0;
    for (const Json& mode : program.Answer({"modes", "0"})) {
      const Json response = program.Answer({"response", "0", "--mode", mode["name"]});
      for (const Json& group : response["groups"]) {
        for (const Json& filter : group["filters"]) {
          ++filters;
          ASSERT_FALSE(filter["quantising_error"].is_null()) << sample << mode << filter["name"];
          EXPECT_LT(std::abs(filter["quantising_error"]["db"].get<double>()), 1.1)
              << sample << mode << filter["name"];
        }
      }
    }
    EXPECT_GT(filters, 5U) << sample;
  }
}

TEST(OrvctlEq, ImportOfAnExportChangesNothing) {
  for (const char* sample : {"skylake-laptop", "broadwell-ultrabook", "qualcomm-tablet"}) {
    const ProgramOnMachine program(sample);
    const std::string file = program.File("list.txt");
    for (const Json& mode : program.Answer({"modes", "0"})) {
      program.Answer({"eq", "0", "export", "--mode", mode["name"], "--output", file});
      const Json import = program.Answer({"eq", "0", "import", file, "--mode", mode["name"]});
      EXPECT_EQ(import["changes"], Json::array()) << sample << mode << FileText(file);
    }
  }
}

TEST(OrvctlEq, ImportStoresReadsBackAndPushes) {
  const ProgramOnMachine program;
  const std::string file = program.File("list.txt");
  WriteText(file, "Preamp: -4.5 dB\nFilter 1: ON PK Fc 1000 Hz Gain 30 dB Q 2\n");
  const Json plan = program.Answer({"eq", "0", "export"});
  const Arguments import = {"--json", "eq", "0", "import", file};
  Arguments dry = import;
  dry.emplace_back("--dry-run");
  EXPECT_EQ(program.Run(dry).status, 3);
  EXPECT_EQ(program.Answer({"eq", "0", "export"}), plan);
  Arguments push = import;
  push.emplace_back("--push");
  const Result result = program.Run(push);
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.json()["misfits"][0]["set"], 24);
  EXPECT_EQ(result.json()["push"]["verdict"], "verified");
  EXPECT_EQ(result.json()["preamp"]["set_db"], -4.5);
  const Json filters = program.Answer({"eq", "0", "export", "--channel", "right"})["filters"];
  EXPECT_EQ(filters[0]["gain_db"], 24);
  EXPECT_NEAR(filters[0]["q"].get<double>(), 2, 0.02);
  for (std::size_t i = 1; i < filters.size(); ++i) EXPECT_EQ(filters[i]["on"], false);
  const Json chain =
      FilterOf(program.Answer({"response", "0"}), "High-pass and equaliser", "left and right");
  EXPECT_NEAR(At(chain, 1000)["dsp"]["db"].get<double>(), 24, 0.3);
}

}  // namespace
}  // namespace orv::cli
