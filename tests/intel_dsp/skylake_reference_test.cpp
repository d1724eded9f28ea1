// Whole modes and single controls through the object, the driver client and a simulated module,
// against the blocks of an independent implementation (tests/data/README.md).
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "intel_dsp/skylake/driver_client.h"
#include "intel_object.h"

namespace orv {
namespace {

using nlohmann::json;
using Bytes = std::vector<std::byte>;

std::uint32_t IdOf(const json& block) {
  return static_cast<std::uint32_t>(std::stoul(block.get<std::string>(), nullptr, 16));
}

std::string HexOf(const Bytes& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string digits;
  for (const std::byte byte : bytes) {
    digits += kDigits[std::to_integer<unsigned>(byte) >> 4];
    digits += kDigits[std::to_integer<unsigned>(byte) & 15];
  }
  return digits;
}

class SkylakeReference : public IntelObjectTest {
 protected:
  // An object of a new machine.
  void Start() {
    machine_ = IntelMachine(folder_.path());
    dsp_ = OpenSkylake();
    records_ = 0;
  }

  // The records since the last call.
  std::vector<DriverRecord> Received() {
    std::vector<DriverRecord> all = machine_->ReceivedRecords();
    const auto from =
        all.begin() + static_cast<std::ptrdiff_t>(std::exchange(records_, all.size()));
    return {from, all.end()};
  }

  bool ModuleEnabled() {
    KELAPOIntelDriverInterface_SKL client(machine_.get(), nullptr);
    HRESULT status = client.ActivateIKsControls(kSpeakers);
    std::uint8_t enabled = 9;
    EXPECT_TRUE(client.GetStatus(status, enabled, 0));
    return enabled != 0;
  }

  // The blocks of a case against what the driver received.
  void Expect(const json& blocks, const std::vector<DriverRecord>& received) {
    ASSERT_EQ(received.size(), blocks.size());
    for (std::size_t i = 0; i < received.size(); ++i) {
      const std::string block = blocks[i].at("id");
      EXPECT_EQ(received[i].parameter, IdOf(blocks[i].at("id")));
      EXPECT_EQ(DifferenceFrom(blocks[i], received[i].bytes), "") << block;
      EXPECT_EQ(received[i].selector, blocks[i].at("apply")) << block;
    }
  }

  Dsp dsp_;
  std::size_t records_ = 0;
};

TEST_F(SkylakeReference, WholeModesBecomeTheirBlocks) {
  const json& data = ReferenceData("skylake.json");
  ASSERT_EQ(data.at("cases").size(), 51U);
  for (const json& row : data.at("cases")) {
    SCOPED_TRACE(row.at("name").get<std::string>());
    Start();
    machine_.skylake().module.enabled = row.at("module") == 0;
    KELAPOIntelDriverInterface_SKL client(machine_.get(), nullptr);
    HRESULT status = client.ActivateIKsControls(kSpeakers);
    const json blocks = row.value("held", json::object());
    for (const auto& [id, digits] : blocks.items()) {
      const Bytes held = BytesOfHex(digits);
      EXPECT_TRUE(client.SetParameter(status, IdOf(id), held.data(),
                                      static_cast<std::uint32_t>(held.size()), 0));
    }
    Received();
    if (row.value("reads", "") == "fail") {
      machine_.skylake().misbehaviour = {
          Misbehave(DriverMisbehaviour::Kind::Refuse, request::kParameter, E_ACCESSDENIED)};
      machine_.skylake().misbehaviour[0].direction = DriverMisbehaviour::Direction::Get;
    }
    WriteFile(dsp_, row.at("controls"), row.at("apply"));
    Expect(row.at("blocks"), Received());
    EXPECT_EQ(ModuleEnabled(), row.at("module") != 0);
    machine_.ExpectNothingRefused();
  }
}

TEST_F(SkylakeReference, TechnologiesSendTheirBlocksAlone) {
  const json& data = ReferenceData("skylake.json");
  Start();
  LONG apply = 0;
  for (const auto& [technology, ids] : data.at("technologies").items()) {
    apply = 1 - apply;
    EXPECT_EQ(Write(dsp_, SkylakeMode(), apply, technology), S_OK);
    const std::vector<DriverRecord> received = Received();
    ASSERT_EQ(received.size(), ids.size()) << technology;
    for (std::size_t i = 0; i < received.size(); ++i) {
      EXPECT_EQ(received[i].parameter, IdOf(ids[i])) << technology;
      EXPECT_EQ(received[i].selector, static_cast<std::uint32_t>(apply)) << technology;
    }
  }
}

TEST_F(SkylakeReference, SingleControlsChangeTheirBlocks) {
  const json& data = ReferenceData("skylake_single.json");
  for (const json& row : data.at("cases")) {
    SCOPED_TRACE(row.dump());
    Start();
    for (const json& mode : data.at("modes"))
      if (mode.at("name") == row.at("mode")) Write(dsp_, mode.at("controls").get<FakeControls>());
    const auto put = [&](const std::string& name, const json& value, LONG apply) {
      return Put(dsp_, name.c_str(), value, apply);
    };
    for (const json& change : row.value("after", json::array())) put(change[0], change[1], 0);
    std::map<std::uint32_t, Bytes> held;
    for (const DriverRecord& record : Received()) held[record.parameter] = record.bytes;
    const bool is_sent = row.value("sent", true);
    EXPECT_EQ(SUCCEEDED(put(row.at("control"), row.at("value"), row.at("apply"))), is_sent);
    json expected = json::array();
    if (row.contains("first")) expected.push_back(row.at("first"));
    if (is_sent) {
      Bytes& block = held.at(IdOf(row.at("id")));
      for (const json& change : row.at("changed"))
        std::ranges::copy(BytesOfHex(change[1]), block.begin() + change[0].get<int>());
      expected.push_back({{"id", row.at("id")}, {"bytes", HexOf(block)}});
      expected.back()["tol_lsb"] = row.value("tol_lsb", json::array());
    }
    for (json& block : expected) block["apply"] = row.at("sent_apply");
    Expect(expected, Received());
    if (row.contains("module")) {
      EXPECT_EQ(ModuleEnabled(), row.at("module") != 0);
    }
    machine_.ExpectNothingRefused();
  }
}

}  // namespace
}  // namespace orv
