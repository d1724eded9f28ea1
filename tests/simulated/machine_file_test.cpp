#include "simulated/driver_client.h"
#include "simulated/refusal_cases.h"

namespace orv {
namespace {

using testing::HasSubstr;

TEST(MachineFile, ReadsAFullDescription) {
  const MachineDescription machine = Describe(R"({
    // everything there is
    "endpoints": [
      {"id": "{0.0.0.00000000}.{A}", "state": "unplugged", "flow": "render", "form_factor": "hdmi",
       "default": true,
       "properties": {
         "{1DA5D803-D492-4EDD-8C23-E0C0FFEE7F0E},5": {"blob": "00 ff1A"},
         "{B3F8FA53-0004-438E-9003-51A46E139BFC},2": "HDAUDIO\\FUNC_01",
         "{A45C254E-DF1C-4EFD-8020-67D146A850E0},4294967295": 7}},
      {"id": "b", "state": 2, "flow": 1, "form_factor": 3}
    ],
    "known_folders": {"program_data": "D:\\Data", "program_files": null},
    "system_directory": null,
    "version": "6.1",
    "process_32bit": true,
    "faults": [
      {"operation": "registry.set_value", "nth": 3, "status": 5},
      {"operation": "devices.enumerate", "nth": "always", "status": "0x8007000E"}
    ],
    "drivers": {"qualcomm": {}}, "events": ["Local\\Changed"],
    "playback": []
  })");
  ASSERT_EQ(machine.endpoints.size(), 2U);
  const SimulatedEndpoint& first = machine.endpoints[0];
  EXPECT_EQ(std::tuple(first.state, first.flow, first.form_factor, first.is_default),
            std::tuple(DEVICE_STATE_UNPLUGGED, eRender, 9U, true));
  const SimulatedEndpoint& other = machine.endpoints[1];
  EXPECT_EQ(std::tuple(other.state, other.flow, other.form_factor, other.is_default),
            std::tuple(DEVICE_STATE_DISABLED, eCapture, 3U, false));
  ASSERT_EQ(first.properties.size(), 3U);
  EXPECT_EQ(first.properties[0].blob, (std::vector<std::uint8_t>{0, 0xFF, 0x1A}));
  EXPECT_EQ(first.properties[0].key.fmtid.Data1, 0x1DA5D803U);
  EXPECT_EQ(first.properties[1].text, L"HDAUDIO\\FUNC_01");
  EXPECT_EQ(first.properties[2].key.pid, 0xFFFFFFFFU);
  EXPECT_EQ(first.properties[2].type, VT_UI4);
  EXPECT_EQ(std::tuple(machine.program_data, machine.program_files, machine.system_directory),
            std::tuple(L"D:\\Data", std::nullopt, std::nullopt));
  EXPECT_EQ(std::tuple(machine.version_major, machine.version_minor, machine.is_32bit_process),
            std::tuple(6U, 1U, true));
  ASSERT_EQ(machine.faults.size(), 2U);
  EXPECT_EQ(machine.faults[0].nth, 3U);
  EXPECT_EQ(machine.faults[1].nth, std::nullopt);
  EXPECT_EQ(machine.faults[1].status, E_OUTOFMEMORY);
  EXPECT_TRUE(machine.drivers.qualcomm);
  EXPECT_EQ(machine.events, std::vector<std::wstring>{L"Local\\Changed"});
  EXPECT_EQ(machine.playback_json, std::string(20, '\n') + "[]");
}

TEST(MachineFile, RefusalsNameTheLineTheFieldAndTheNearestName) {
  for (const auto& [line, reason, text] : RefusalCases("machine_file.txt")) {
    FileError error;
    EXPECT_FALSE(ParseMachineFile(text, error)) << text;
    EXPECT_EQ(error.line, line) << text << "\n" << error.reason;
    EXPECT_THAT(error.reason, HasSubstr(reason));
  }
  FileError error;
  EXPECT_FALSE(ParseMachineFile(std::string(100000, '['), error));
  EXPECT_THAT(error.reason, HasSubstr("levels deep"));
}

}  // namespace
}  // namespace orv
