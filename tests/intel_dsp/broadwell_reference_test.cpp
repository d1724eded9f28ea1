// What the Broadwell driver receives for whole modes and for single controls, against the reference
// data: through the object, the processors and the driver's client.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>

#include "fake_mode.h"
#include "frame/text_result.h"
#include "intel_dsp/broadwell/driver_client.h"
#include "intel_dsp/intel_dsp.h"
#include "intel_machine.h"
#include "support/reference_data.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using Json = nlohmann::json;

HRESULT StatusOf(const Json& row) {
  return static_cast<HRESULT>(std::stoul(row.value("status", "0"), nullptr, 16));
}

class BroadwellReference : public testing::Test {
 protected:
  BroadwellReference() {
    module_.SetMachine(machine_.get());
    ComPtr<IKELAPOIntelDSP> dsp;
    EXPECT_EQ(CreateIntelDriverClient(module_, nullptr, kSpeakers, dsp.Put()), S_OK);
    dsp_ = dsp.As<IKELAPOIntelDSP4>();
  }
  ~BroadwellReference() override {
    dsp_.Reset();
    ReleaseIntelDriverClients();
    machine_.ExpectNothingRefused();
  }

  HRESULT SendAsFile(const Json& controls, int apply) {
    const std::string key =
        "<control name='ZAPO3-Operating Mode'>Music</control>"
        "<control name='ZAPO3-Speaker Type'>Internal</control>";
    // A process reads a file once.
    const std::string file_name = "mode" + std::to_string(++files_) + ".xml";
    std::ofstream file(folder_.path() / file_name);
    file << "<orv_configuration><properties>" << key
         << "</properties><operating_mode selector='dsp'>" << key;
    for (const auto& [name, value] : controls.items())
      file << "<control name='" << name << "'>" << value.get<std::string>() << "</control>";
    file << "</operating_mode></orv_configuration>";
    file.close();
    const OwnedText path(SysAllocString(Widen("C:\\" + file_name).c_str()));
    return dsp_->ProcessConfigFile(path.get(), nullptr, apply);
  }
  HRESULT SendAsMode(const std::vector<ListedControl>& controls, const std::string& technology,
                     int apply) {
    const OwnedText text(technology.empty() ? nullptr : SysAllocString(Widen(technology).c_str()));
    return dsp_->WriteControls(FakeMode::Make(controls).get(), text.get(), apply);
  }
  HRESULT Put(const std::string& control, const Json& number, int apply) {
    const OwnedText name(SysAllocString(Widen(control).c_str()));
    const OwnedText text(
        number.is_string() ? SysAllocString(Widen(number.get<std::string>()).c_str()) : nullptr);
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = text.get();
    if (number.is_number()) {
      value.llVal = number;
      value.vt = value.llVal == static_cast<LONG>(value.llVal) ? VT_I4 : VT_I8;
    }
    return dsp_->put_Property(name.get(), apply, value);
  }
  void Hold(const std::string& parameter, const std::string& hex) {
    HRESULT status = E_FAIL;
    ORVAPOIntelDriverInterface_BRW client(*machine_.get(), status,
                                          broadwell::kPostProcessingModule);
    const std::vector<std::byte> bytes = BytesOfHex(hex);
    EXPECT_TRUE(client.SetParameter(status, static_cast<std::uint32_t>(std::stoul(parameter)),
                                    bytes.data(), static_cast<std::uint32_t>(bytes.size()), 0));
    Received();
  }
  std::vector<DriverRecord> Received() {
    const std::vector<DriverRecord> all = machine_->ReceivedRecords();
    const std::uint64_t before = std::exchange(last_, all.empty() ? last_ : all.back().number);
    std::vector<DriverRecord> received;
    for (const DriverRecord& record : all)
      if (record.number > before) received.push_back(record);
    return received;
  }
  // Block by block what the list of their identifiers says, each as `blocks` has it.
  static void ExpectBlocks(const std::vector<DriverRecord>& received, const Json& ids,
                           const Json& blocks) {
    ASSERT_EQ(received.size(), ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
      const std::string id = ids[i];
      SCOPED_TRACE("parameter " + id);
      const auto block = std::find_if(blocks.begin(), blocks.end(),
                                      [&](const Json& b) { return b.at("id") == id; });
      EXPECT_EQ(std::to_string(received[i].parameter), id);
      EXPECT_EQ(received[i].selector, block->at("apply"));
      EXPECT_EQ(DifferenceFrom(*block, received[i].bytes), "");
    }
  }

  TemporaryFolder folder_;
  IntelMachine machine_{folder_.path()};
  Module module_{{}, [] { return std::shared_ptr<Machine>(); }};
  ComPtr<IKELAPOIntelDSP4> dsp_;
  std::uint64_t last_ = 0;  // number of the last record that was looked at
  int files_ = 0;
};

// As a mode object has them, which has no texts: names of sizes and filters become numbers.
std::vector<ListedControl> Numbers(const Json& controls) {
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

TEST_F(BroadwellReference, WholeModesFillEveryParameter) {
  const Json& data = ReferenceData("broadwell.json");
  const auto ids_of = [](const Json& blocks) {
    Json ids = Json::array();
    for (const Json& block : blocks) ids.push_back(block.at("id"));
    return ids;
  };
  for (const Json& row : data.at("cases")) {
    SCOPED_TRACE(row.at("name").get<std::string>());
    const Json& blocks = row.at("blocks");
    const Json held = row.value("held", Json::object());
    for (const auto& [id, hex] : held.items()) Hold(id, hex);
    EXPECT_EQ(SendAsFile(row.at("controls"), row.at("apply")), StatusOf(row));
    ExpectBlocks(Received(), ids_of(blocks), blocks);
  }
  // Of the first mode only the AMHD block has a name that a mode object cannot report.
  Json row = data.at("cases")[0];
  for (Json& block : row["blocks"]) block["apply"] = 1;
  const std::vector<ListedControl> numbers = Numbers(row.at("controls"));
  Json order = Json::array();
  for (const Json& id : data.at("order_of_mode"))
    if (id != "21" && std::ranges::count(ids_of(row.at("blocks")), id) != 0) order.push_back(id);
  EXPECT_EQ(SendAsMode(numbers, "", 1), S_OK);
  std::vector<DriverRecord> received = Received();
  EXPECT_EQ(std::erase_if(received, [](const DriverRecord& r) { return r.parameter == 21; }), 1U);
  ExpectBlocks(received, order, row.at("blocks"));
  for (const auto& [technology, ids] : data.at("technologies").items()) {
    EXPECT_EQ(SendAsMode(numbers, technology, 1), S_OK);
    ExpectBlocks(Received(), ids, row.at("blocks"));
  }
  const auto mode = FakeMode::Make(numbers);
  mode->unreadable = "ZENSND-DC Enable";  // left out, and then the block is not complete
  EXPECT_EQ(dsp_->WriteControls(mode.get(), nullptr, 0), orv_apo::kAborted);
}

TEST_F(BroadwellReference, SingleControlsChangeTheirFieldAlone) {
  const Json& data = ReferenceData("broadwell_single.json");
  std::map<std::string, Json> modes;
  for (const Json& mode : data.at("modes")) modes[mode.at("name")] = mode;
  const auto begin_with = [&](const Json& row) {
    const Json& mode = modes.at(row.at("mode"));
    EXPECT_EQ(SendAsFile(mode.at("controls"), 0), S_OK);
    Received();
    return mode.at("blocks");
  };
  for (const Json& row : data.at("cases")) {
    SCOPED_TRACE(row.dump().substr(0, 100));
    const Json held = begin_with(row);
    Json expected = Json::array();
    if (row.contains("first")) expected.push_back(row.at("first"));
    if (row.value("sent", true)) {
      std::string hex = held.at(row.at("id").get<std::string>());
      for (const Json& change : row.at("changed"))
        hex.replace(2 * change.at(0).get<std::size_t>(), change.at(1).get<std::string>().size(),
                    change.at(1));
      expected.push_back({{"id", row.at("id")}, {"bytes", hex}});
      if (row.contains("tol_lsb")) expected.back()["tol_lsb"] = row.at("tol_lsb");
    }
    Json ids = Json::array();
    for (Json& block : expected) {
      block["apply"] = row.at("apply");
      ids.push_back(block.at("id"));
    }
    EXPECT_EQ(Put(row.at("control"), row.at("value"), row.at("apply")), StatusOf(row));
    ExpectBlocks(Received(), ids, expected);
  }
  for (const Json& row : data.at("reads")) {
    SCOPED_TRACE(row.dump());
    begin_with(row);
    VARIANT value{};
    const OwnedText name(SysAllocString(Widen(row.at("control").get<std::string>()).c_str()));
    EXPECT_EQ(dsp_->get_Property(name.get(), 0, &value), StatusOf(row));
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, row.at("value"));
  }
}

}  // namespace
}  // namespace orv
