#include "platform/simulated/driver_client.h"

namespace orv {
namespace {

using testing::HasSubstr;

TEST(MachineFile, AFullDescriptionIsRead) {
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

// An endpoint with one property of that value, and a Broadwell driver with one rule.
std::string Property(const std::string& value) {
  return R"({"endpoints": [{"id": "a", "properties": {"{1DA5D803-D492-4EDD-8C23-E0C0FFEE7F0E},0": )" +
         value + "}}]}";
}
std::string Rule(const std::string& rule) {
  return "{\"drivers\": {\"broadwell\": {\"misbehaviour\": [\n" + rule + "]}}}";
}

TEST(MachineFile, RefusalsNameTheLineTheFieldAndTheNearestName) {
  const std::tuple<std::string, int, const char*> cases[] = {
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
      {Property("-1"), 1, "expected text, a number from 0"},
      {Property("{\"blob\": \"0g\"}"), 1, "blob: expected pairs of hexadecimal digits"},
      {"{\"known_folders\": {\"program_data\": 1}}", 1, "expected a path in quotation marks"},
      {"{\"version\": \"10\"}", 1, "expected a version like"},
      {"{\"process_32bit\": 1}", 1, "expected true or false"},
      {"{\"faults\": [{\"operation\": \"registry.set_vlaue\", \"nth\": 1, \"status\": 1}]}", 1,
       "the nearest is \"registry.set_value\""},
      {"{\"faults\": [{\"operation\": \"store.count\", \"nth\": 0, \"status\": 1}]}", 1,
       "a call's number from 1 or \"always\""},
      {"{\"faults\": [{\"operation\": \"store.count\", \"nth\": 1, \"status\": \"0x1x\"}]}", 1,
       "expected a 32-bit number"},
      {"{\"events\": [1]}", 1, "events[0]: expected text"},
      {"{\"drivers\": {\"skylake\": {\"endpoints\": [\n{\"id\": \"x\"}]}}}", 2,
       "endpoints[0].id: no endpoint of this machine"},
      {R"({"drivers": {"skylake": {"endpoints": [], "other_modules": [{"id": "{1}"}]}}})", 1,
       "id: expected {XXXX"},
      {"{\"drivers\": {\"broadwell\": {\"features\": 256}}}", 1, "a number from 0 to 255"},
      {"{\"drivers\": {\"broadwell\": {\"module\": {\"name\": \"" + std::string(64, 'x') + "\"}}}}",
       1, "longer than 63 bytes"},
      {Rule("{\"kind\": \"refus\"}"), 2, "the nearest is \"refuse\""},
      {Rule("{\"kind\": \"late\"}"), 2, "the key \"delay_ms\" is missing"},
      {Rule("{\"kind\": \"late\", \"delay_ms\": 10001}"), 2, "0 to 10000"},
      {Rule("{\"kind\": \"refuse\", \"size\": 1}"), 2, "no key \"size\""},
      {Rule("{\"kind\": \"refuse\", \"request\": \"parametre\"}"), 2, "\"parameter\""},
      {Rule("{\"kind\": \"stale\", \"direction\": \"set\"}"), 2, "only what is read"},
      {Rule("{\"kind\": \"refuse\", \"request\": \"status\", \"direction\": \"get\"}"), 2,
       "no request of this kind"},
      {Rule("{\"kind\": \"stale\", \"request\": \"modules\"}"), 2, "no request of this kind"},
      {"{\"drivers\": {\"qualcomm\": {\"misbehaviour\": [{\"kind\": \"status\", \"status\": 1}]}}}",
       1, "misbehaviour[0].kind: this driver answers nothing"},
  };
  for (const auto& [text, line, reason] : cases) {
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
