// Whole modes and single controls through the object, the driver client and a simulated module,
// against the blocks of an independent implementation (tests/data/README.md).
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "control_map.h"
#include "fake_mode.h"
#include "frame/text_result.h"
#include "intel_dsp/intel_dsp.h"
#include "intel_dsp/skylake/driver_client.h"
#include "intel_machine.h"
#include "support/temporary_folder.h"

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

class SkylakeReference : public testing::Test {
 protected:
  ~SkylakeReference() override { ReleaseIntelDriverClients(); }

  // A new machine with the object of its default endpoint.
  void Start() {
    machine_ = IntelMachine(folder_.path());
    machine_->description().drivers.broadwell.reset();
    module_.SetMachine(machine_.get());
    ComPtr<IKELAPOIntelDSP> dsp;
    ASSERT_EQ(CreateIntelDriverClient(module_, nullptr, kSpeakers, dsp.Put()), S_OK);
    dsp_ = dsp.As<IKELAPOIntelDSP4>();
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

  const TemporaryFolder folder_;
  IntelMachine machine_;
  Module module_{{}, [] { return std::shared_ptr<Machine>(); }};
  ComPtr<IKELAPOIntelDSP4> dsp_;
  std::size_t records_ = 0;
};

TEST_F(SkylakeReference, WholeModesBecomeTheirBlocks) {
  for (const json& row : ReferenceData("skylake.json").at("cases")) {
    SCOPED_TRACE(row.at("name").get<std::string>());
    Start();
    machine_.skylake().module.enabled = row.at("module") == 0;
    KELAPOIntelDriverInterface_SKL client(machine_.get(), nullptr);
    HRESULT status = client.ActivateIKsControls(kSpeakers);
    for (const auto& [id, digits] : row.value("held", json::object()).items()) {
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
    std::ofstream(folder_.path() / "mode.xml") << ConfigurationOf(row.at("controls"));
    const OwnedText path(SysAllocString(L"C:\\mode.xml"));
    dsp_->ProcessConfigFile(path.get(), nullptr, row.at("apply").get<LONG>());
    Expect(row.at("blocks"), Received());
    EXPECT_EQ(ModuleEnabled(), row.at("module") != 0);
  }
}

TEST_F(SkylakeReference, TechnologiesSendTheirBlocksAlone) {
  const json data = ReferenceData("skylake.json");
  Start();
  LONG apply = 0;
  for (const auto& [technology, ids] : data.at("technologies").items()) {
    apply = 1 - apply;
    const OwnedText text(SysAllocString(Widen(technology).c_str()));
    EXPECT_EQ(
        dsp_->WriteControls(FakeMode::Make(PlainMode().get<std::map<std::string, LONG>>()).get(),
                            text.get(), apply),
        S_OK);
    const std::vector<DriverRecord> received = Received();
    ASSERT_EQ(received.size(), ids.size()) << technology;
    for (std::size_t i = 0; i < received.size(); ++i) {
      EXPECT_EQ(received[i].parameter, IdOf(ids[i])) << technology;
      EXPECT_EQ(received[i].selector, static_cast<std::uint32_t>(apply)) << technology;
    }
  }
}

VARIANT VariantOf(const json& value) {
  VARIANT variant{};
  if (value.is_string()) {
    variant.vt = VT_BSTR;
    variant.bstrVal = SysAllocString(Widen(value.get<std::string>()).c_str());
  } else {
    const auto number = value.get<std::int64_t>();
    variant.vt = number == static_cast<std::int32_t>(number) ? VT_I4 : VT_I8;
    variant.llVal = number;
  }
  return variant;
}

TEST_F(SkylakeReference, SingleControlsChangeTheirBlocks) {
  const json data = ReferenceData("skylake_single.json");
  const auto put = [&](const std::string& name, const json& value, LONG apply) {
    const OwnedText control(SysAllocString(Widen(name).c_str()));
    VARIANT variant = VariantOf(value);
    const HRESULT status = dsp_->put_Property(control.get(), apply, variant);
    VariantClear(&variant);
    return status;
  };
  for (const json& row : data.at("cases")) {
    SCOPED_TRACE(row.dump());
    Start();
    for (const json& mode : data.at("modes"))
      if (mode.at("name") == row.at("mode"))
        dsp_->WriteControls(
            FakeMode::Make(mode.at("controls").get<std::map<std::string, LONG>>()).get(), nullptr,
            1);
    for (const json& change : row.value("after", json::array())) put(change.at(0), change.at(1), 1);
    std::map<std::uint32_t, Bytes> held;
    for (const DriverRecord& record : Received()) held[record.parameter] = record.bytes;
    const HRESULT status = put(row.at("control"), row.at("value"), row.at("apply").get<LONG>());
    const std::vector<DriverRecord> received = Received();
    EXPECT_EQ(SUCCEEDED(status), row.value("sent", true));
    if (!row.value("sent", true)) {
      EXPECT_TRUE(received.empty());
      continue;
    }
    ASSERT_EQ(received.size(), row.contains("first") ? 2U : 1U);
    if (row.contains("first")) {
      EXPECT_EQ(received[0].parameter, IdOf(row.at("first").at("id")));
      EXPECT_EQ(DifferenceFrom(row.at("first"), received[0].bytes), "");
    }
    EXPECT_EQ(received.back().parameter, IdOf(row.at("id")));
    for (const DriverRecord& record : received) EXPECT_EQ(record.selector, row.at("sent_apply"));
    Bytes& block = held.at(received.back().parameter);
    for (const json& change : row.at("changed")) {
      const Bytes bytes = BytesOfHex(change.at(1));
      std::copy(bytes.begin(), bytes.end(), block.begin() + change.at(0).get<int>());
    }
    json expected = {{"bytes", HexOf(block)}};
    if (row.contains("tol_lsb")) expected["tol_lsb"] = row.at("tol_lsb");
    EXPECT_EQ(DifferenceFrom(expected, received.back().bytes), "");
    if (row.contains("module")) {
      EXPECT_EQ(ModuleEnabled(), row.at("module") != 0);
    }
  }
}

}  // namespace
}  // namespace orv
