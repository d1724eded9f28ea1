// Whole modes and single controls through the object, the driver's client and a simulated driver,
// against the blocks of an independent implementation (tests/data/README.md).
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <cstdlib>
#include <map>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/skylake/driver_client.h"
#include "intel_object.h"

namespace orv {
namespace {

using nlohmann::json;
using Bytes = std::vector<std::byte>;

std::string HexOf(const Bytes& bytes) {
  const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.data());
  std::string digits;
  boost::algorithm::hex_lower(first, first + bytes.size(), std::back_inserter(digits));
  return digits;
}

HRESULT StatusOf(const json& row) {
  return static_cast<HRESULT>(std::stoul(row.value("status", "0"), nullptr, 16));
}

// As a mode object has them, which has no texts: names of sizes and filters become numbers.
std::vector<ListedControl> Numbers(const json& controls) {
  const std::map<std::string, LONG> names = {{"Enabled", 1},          {"ZENSND-Traditional", 0},
                                             {"ZENSND-Low Shelf", 1}, {"ZENSND-High Shelf", 2},
                                             {"ZENSND-60Hz", 60},     {"VQ3D-100Hz", 100}};
  std::vector<ListedControl> numbers;
  for (const auto& [name, value] : controls.items()) {
    const std::string text = value;
    const auto known = names.find(text);
    numbers.emplace_back(name, known != names.end() ? known->second : std::atoi(text.c_str()));
  }
  return numbers;
}

class IntelReference : public IntelObjectTest {
 protected:
  // An object of a new machine with the driver that the file is about.
  void Start(const std::string& file) {
    machine_ = IntelMachine(folder_.path());
    dsp_ = file.starts_with("skylake") ? OpenSkylake() : Open();
  }
  // Writes the mode of a single control's case. The data that the driver holds then, by identifier.
  std::map<std::uint32_t, Bytes> StartWith(const std::string& file, const json& row) {
    Start(file);
    for (const json& mode : ReferenceData(file).at("modes"))
      if (mode.at("name") == row.at("mode")) WriteFile(dsp_, mode.at("controls"), 0);
    for (const json& change : row.value("after", json::array()))
      Put(dsp_, change[0].get<std::string>().c_str(), change[1]);
    std::map<std::uint32_t, Bytes> held;
    for (const DriverRecord& record : machine_.Received()) held[record.parameter] = record.bytes;
    return held;
  }
  // The driver holds these blocks.
  template <class Client>
  void Hold(Client& client, const json& blocks) {
    HRESULT status = S_OK;
    for (const auto& [id, digits] : blocks.items()) {
      const Bytes held = BytesOfHex(digits);
      EXPECT_TRUE(client.SetParameter(status, ParameterOf(id), held.data(),
                                      static_cast<std::uint32_t>(held.size()), 0));
    }
    machine_.Received();
  }
  bool SkylakeEnabled() {
    KELAPOIntelDriverInterface_SKL client(machine_.get(), nullptr);
    HRESULT status = client.ActivateIKsControls(kSpeakers);
    std::uint8_t enabled = 9;
    EXPECT_TRUE(client.GetStatus(status, enabled, 0));
    return enabled != 0;
  }
  // The driver received these blocks since the last call, and refused nothing.
  void Expect(const json& blocks) {
    EXPECT_EQ(DifferenceFrom(blocks, machine_.Received()), "");
    machine_.ExpectNothingRefused();
  }

  Dsp dsp_;
};

TEST_F(IntelReference, WholeSkylakeModesBecomeTheirBlocks) {
  const json& data = ReferenceData("skylake.json");
  ASSERT_EQ(data.at("cases").size(), 51U);
  for (const json& row : data.at("cases")) {
    SCOPED_TRACE(row.at("name").get<std::string>());
    Start("skylake.json");
    machine_.skylake().module.enabled = row.at("module") == 0;
    KELAPOIntelDriverInterface_SKL client(machine_.get(), nullptr);
    EXPECT_EQ(client.ActivateIKsControls(kSpeakers), S_OK);
    Hold(client, row.value("held", json::object()));
    if (row.value("reads", "") == "fail") {
      machine_.skylake().misbehaviour = {
          Misbehave(DriverMisbehaviour::Kind::Refuse, request::kParameter, E_ACCESSDENIED)};
      machine_.skylake().misbehaviour[0].direction = DriverMisbehaviour::Direction::Get;
    }
    WriteFile(dsp_, row.at("controls"), row.at("apply"));
    Expect(row.at("blocks"));
    EXPECT_EQ(SkylakeEnabled(), row.at("module") != 0);
  }
  Start("skylake.json");
  LONG apply = 0;
  for (const auto& [technology, ids] : data.at("technologies").items()) {
    SCOPED_TRACE(technology);
    apply = 1 - apply;
    EXPECT_EQ(Write(dsp_, SkylakeMode(), apply, technology), S_OK);
    json blocks;
    for (const json& id : ids) blocks.push_back({{"id", id}, {"apply", apply}});
    Expect(blocks);
  }
}

TEST_F(IntelReference, WholeBroadwellModesFillEveryParameter) {
  const json& data = ReferenceData("broadwell.json");
  for (const json& row : data.at("cases")) {
    SCOPED_TRACE(row.at("name").get<std::string>());
    Start("broadwell.json");
    HRESULT status = E_FAIL;
    ORVAPOIntelDriverInterface_BRW client(*machine_.get(), status,
                                          broadwell::kPostProcessingModule);
    Hold(client, row.value("held", json::object()));
    EXPECT_EQ(WriteFile(dsp_, row.at("controls"), row.at("apply")), StatusOf(row));
    Expect(row.at("blocks"));
  }
  // Of the first mode only the AMHD block has a name that a mode object cannot report.
  const json& row = data.at("cases").at(0);
  const std::vector<ListedControl> numbers = Numbers(row.at("controls"));
  const auto expect = [&](const std::string& technology, const json& ids) {
    SCOPED_TRACE(technology);
    const UniqueBstr text(SysAllocString(Widen(technology).c_str()));
    EXPECT_EQ(dsp_->WriteControls(FakeMode::Make(numbers).get(), text.get(), 1), S_OK);
    json blocks;
    for (const json& id : ids) {
      for (json block : row.at("blocks")) {
        block["apply"] = 1;
        if (id == "21") block["open"] = {{0, 92}};
        if (block.at("id") == id) blocks.push_back(block);
      }
    }
    Expect(blocks);
  };
  expect("", data.at("order_of_mode"));
  for (const auto& [technology, ids] : data.at("technologies").items()) expect(technology, ids);
  const auto mode = FakeMode::Make(numbers);
  mode->unreadable = "ZENSND-DC Enable";  // left out, and then the block is not complete
  EXPECT_EQ(dsp_->WriteControls(mode.get(), nullptr, 0), orv_apo::kAborted);
}

TEST_F(IntelReference, SingleControlsChangeTheirFieldsAlone) {
  for (const char* file : {"skylake_single.json", "broadwell_single.json"}) {
    for (const json& row : ReferenceData(file).at("cases")) {
      SCOPED_TRACE(row.dump());
      std::map<std::uint32_t, Bytes> held = StartWith(file, row);
      const HRESULT status =
          Put(dsp_, row.at("control").get<std::string>().c_str(), row.at("value"), row.at("apply"));
      const bool is_sent = row.value("sent", true);
      EXPECT_EQ(status, is_sent || row.contains("status") ? StatusOf(row) : E_FAIL);
      json expected = json::array();
      if (row.contains("first")) expected.push_back(row.at("first"));
      if (is_sent) {
        Bytes& block = held.at(ParameterOf(row.at("id")));
        for (const json& change : row.at("changed"))
          std::ranges::copy(BytesOfHex(change[1]), block.begin() + change[0].get<int>());
        expected.push_back({{"id", row.at("id")}, {"bytes", HexOf(block)}});
        expected.back()["tol_lsb"] = row.value("tol_lsb", json::array());
      }
      for (json& block : expected) block["apply"] = row.value("sent_apply", row.at("apply"));
      Expect(expected);
      if (row.contains("module")) {
        EXPECT_EQ(SkylakeEnabled(), row.at("module") != 0);
      }
    }
  }
  for (const json& row : ReferenceData("broadwell_single.json").at("reads")) {
    SCOPED_TRACE(row.dump());
    StartWith("broadwell_single.json", row);
    LONG number = 0;
    EXPECT_EQ(Get(dsp_, row.at("control").get<std::string>().c_str(), number), S_OK);
    EXPECT_EQ(number, row.at("value"));
  }
}

}  // namespace
}  // namespace orv
