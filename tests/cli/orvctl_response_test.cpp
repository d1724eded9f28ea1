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

}  // namespace
}  // namespace orv::cli
