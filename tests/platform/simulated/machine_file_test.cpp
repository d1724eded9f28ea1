#include "platform/simulated/machine_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orv {
namespace {

using testing::HasSubstr;

MachineDescription Parse(std::string_view text) {
  FileError error;
  const auto description = ParseMachineFile(text, error);
  EXPECT_TRUE(description) << error.Text();
  return description.value_or(MachineDescription());
}

TEST(MachineFile, AFullDescriptionIsRead) {
  const MachineDescription machine = Parse(R"({
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
  EXPECT_EQ(first.state, DEVICE_STATE_UNPLUGGED);
  EXPECT_EQ(first.form_factor, 9U);
  EXPECT_TRUE(first.is_default);
  ASSERT_EQ(first.properties.size(), 3U);
  EXPECT_EQ(first.properties[0].blob, (std::vector<std::uint8_t>{0, 0xFF, 0x1A}));
  EXPECT_EQ(first.properties[0].key.fmtid.Data1, 0x1DA5D803U);
  EXPECT_EQ(first.properties[1].text, L"HDAUDIO\\FUNC_01");
  EXPECT_EQ(first.properties[2].key.pid, 0xFFFFFFFFU);
  EXPECT_EQ(first.properties[2].type, VT_UI4);
  EXPECT_EQ(machine.endpoints[1].state, DEVICE_STATE_DISABLED);
  EXPECT_EQ(machine.endpoints[1].flow, eCapture);
  EXPECT_EQ(machine.program_data, L"D:\\Data");
  EXPECT_EQ(machine.program_files, std::nullopt);
  EXPECT_EQ(machine.system_directory, std::nullopt);
  EXPECT_EQ(machine.version_major, 6U);
  EXPECT_EQ(machine.version_minor, 1U);
  EXPECT_TRUE(machine.is_32bit_process);
  ASSERT_EQ(machine.faults.size(), 2U);
  EXPECT_EQ(machine.faults[0].nth, 3U);
  EXPECT_EQ(machine.faults[1].nth, std::nullopt);
  EXPECT_EQ(machine.faults[1].status, E_OUTOFMEMORY);
  EXPECT_TRUE(machine.drivers.qualcomm);
  EXPECT_EQ(machine.events, std::vector<std::wstring>{L"Local\\Changed"});
  EXPECT_EQ(machine.playback_json, std::string(20, '\n') + "[]");
}

TEST(MachineFile, RefusalsNameTheLineTheFieldAndTheNearestName) {
  const struct {
    const char* text;
    int line;
    const char* reason;
  } cases[] = {
      {"", 1, "unexpected end of input"},
      {"{\n\"version\": \"10.0\",\n}", 3, "expected string literal"},
      {"[]", 1, "expected an object"},
      {"{\n\n\"endpoint\": []}", 3, "no key \"endpoint\"; the nearest is \"endpoints\""},
      {"{\"version\": \"10.0\",\n\"version\": \"10.0\"}", 2, "comes twice"},
      {"{\"endpoints\": {}}", 1, "endpoints: expected a list"},
      {"{\"endpoints\": [\n{}]}", 2, "endpoints[0]: the key \"id\" is missing"},
      {"{\"endpoints\": [{\"id\": \"a\"},\n{\"id\":\n\"A\"}]}", 3, "another endpoint has this"},
      {"{\"endpoints\": [{\"id\": \"a\", \"state\":\n3\n}]}", 2, "[0].state: there is no state 3"},
      {"{\"endpoints\": [{\"id\": \"a\", \"state\": \"activ\"}]}", 1, "nearest is \"active\""},
      {"{\"endpoints\": [{\"id\": \"a\", \"state\": true}]}", 1, "a number or a state's name"},
      {"{\"endpoints\": [{\"id\": \"a\", \"properties\": {\n\"{1},2\": 1}}]}", 2,
       "properties: \"{1},2\" is no property key"},
      {"{\"endpoints\": [{\"id\": \"a\", \"properties\": {"
       "\"{1DA5D803-D492-4EDD-8C23-E0C0FFEE7F0E},0\": -1}}]}",
       1, "expected text, a number from 0"},
      {"{\"endpoints\": [{\"id\": \"a\", \"properties\": {"
       "\"{1DA5D803-D492-4EDD-8C23-E0C0FFEE7F0E},0\": {\"blob\": \"0g\"}}}]}",
       1, "blob: expected pairs of hexadecimal digits"},
      {"{\"known_folders\": {\"program_data\": 1}}", 1, "expected a path in quotation marks"},
      {"{\"version\": \"10\"}", 1, "expected a version like"},
      {"{\"process_32bit\": 1}", 1, "expected true or false"},
      {"{\"faults\": [{\"operation\": \"registry.set_vlaue\", \"nth\": 1, \"status\": 1}]}", 1,
       "the nearest is \"registry.set_value\""},
      {"{\"faults\": [{\"operation\": \"store.count\", \"nth\": 0, \"status\": 1}]}", 1,
       "a call's number from 1 or \"always\""},
      {"{\"faults\": [{\"operation\": \"store.count\", \"nth\": 1, \"status\": \"0x1x\"}]}", 1,
       "expected a 32-bit number"},
  };
  for (const auto& refused : cases) {
    FileError error;
    EXPECT_FALSE(ParseMachineFile(refused.text, error)) << refused.text;
    EXPECT_EQ(error.line, refused.line) << refused.text << "\n" << error.reason;
    EXPECT_THAT(error.reason, HasSubstr(refused.reason));
  }
  FileError error;
  EXPECT_FALSE(ParseMachineFile(std::string(100000, '['), error));
  EXPECT_THAT(error.reason, HasSubstr("levels deep"));
}

}  // namespace
}  // namespace orv
