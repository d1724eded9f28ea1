// machine drivers: what the drivers of a simulated machine received, as people and scripts see it.
#include "cli/orvctl_program.h"
#include "platform/simulated/driver_client.h"

namespace orv::cli {
namespace {

TEST(OrvctlDrivers, RecordsAreDecodedInTheOrderInWhichTheyCame) {
  const ProgramOnMachine program;
  EXPECT_EQ(program.Answer({"machine", "drivers"}), Json::array());
  FileError error;
  const auto machine = SimulatedMachine::Open(program.machine(), error);
  ASSERT_NE(machine, nullptr) << error.Text();
  SkylakeClient client(*machine);
  ASSERT_EQ(client.Walk(L"{0.0.0.00000000}.{7D3C1F5A-2B84-4E0E-9C61-5F1E0A9B3D21}"), S_OK);
  const Bytes tone = Wire().Word(1).Word(6).Word(0xFFFFFFFD);
  EXPECT_EQ(client.SetBlock(0x10014411, Wire().Word(48000)), S_OK);
  EXPECT_EQ(client.SetBlock(0x10014408, tone, 1), S_OK);
  EXPECT_NE(client.SetBlock(0x10014408, Bytes(11)), S_OK);

  const Json records = program.Answer({"machine", "drivers"});
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(Keys(records[1]),
            (std::vector<std::string>{"driver", "parameter", "name", "size", "bytes", "fields"}));
  EXPECT_EQ(records[0]["parameter"], 0x10014411);
  EXPECT_EQ(records[1]["name"], "KEL_PARAM_VQSND3D_TONE_CONTROLS_CONTROLS_STU");
  EXPECT_EQ(records[1]["bytes"], "0100000006000000fdffffff");
  EXPECT_EQ(records[1]["fields"],
            Json::parse(R"([{"offset": 0, "control": "VQ3D-Tone Enable", "value": 1},
                            {"offset": 4, "control": "VQ3D-Bass Gain", "value": 6},
                            {"offset": 8, "control": "VQ3D-Treble Gain", "value": -3}])"));
  const Result shown = program.Run({"machine", "drivers"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.output.find("VQ3D-Treble Gain"), std::string::npos);
  EXPECT_TRUE(shown.Says("skylake refused parameter 0x10014408: a block of 11 bytes"));
}

}  // namespace
}  // namespace orv::cli
