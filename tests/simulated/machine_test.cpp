#include <gmock/gmock.h>

#include "platform/com_object.h"
#include "platform/com_ptr.h"
#include "platform/machine_conformance.h"
#include "simulated/driver_client.h"
#include "simulated/machine_folder.h"

namespace orv {
namespace {

TEST(SimulatedMachine, FindsDriveCInAnyLetterCaseAndNoOtherDrive) {
  const MachineFolder folder;
  std::filesystem::create_directories(folder.path() / "drive_c" / "ProgramData");
  const auto machine = folder.Open();
  EXPECT_TRUE(machine->FileExists(L"c:\\programdata"));
  EXPECT_FALSE(machine->FileExists(L"C:\\ProgramData\\absent.xml"));
  const auto fresh = machine->HostPath(L"C:\\PROGRAMDATA\\..\\PROGRAMDATA\\New\\a.txt");
  ASSERT_TRUE(fresh);
  const std::filesystem::path file(*fresh);
  EXPECT_EQ(file.filename(), "a.txt");
  EXPECT_TRUE(std::filesystem::equivalent(file.parent_path().parent_path(),
                                          folder.path() / "drive_c" / "ProgramData"));

  const std::filesystem::path own = folder.path() / "machine.json";
  EXPECT_EQ(machine->HostPath(own.wstring()), own.string());
  EXPECT_TRUE(machine->FileExists(L"Z:" + own.wstring()));
  const std::wstring lone_surrogate = std::wstring(L"C:\\") + wchar_t{0xD800};
  for (const std::wstring& path :
       {std::wstring(L"C:\\..\\registry.reg"), std::wstring(L"D:\\x"), std::wstring(L"x\\y"),
        std::wstring(L"C:x"), std::wstring(), lone_surrogate, std::wstring(L"C:\\a\0b", 6)}) {
    EXPECT_EQ(machine->HostPath(path), std::nullopt) << path.size();
    EXPECT_FALSE(machine->FileExists(path)) << path.size();
  }
  EXPECT_EQ(SimulatedMachine::InMemory()->HostPath(L"C:\\x"), std::nullopt);
}

TEST(SimulatedMachine, EnumerationsFilterByFlowAndStateAndSeeLaterChanges) {
  const auto machine = SimulatedMachine::InMemory(Describe(
      R"({"endpoints": [{"id": "0"}, {"id": "1", "state": 2}, {"id": "2", "flow": "capture"}]})"));
  ComPtr<IMMDeviceEnumerator> enumerator;
  ASSERT_EQ(machine->CreateDeviceEnumerator(enumerator.Put()), S_OK);
  const auto count = [&](EDataFlow flow, DWORD states) {
    ComPtr<IMMDeviceCollection> devices;
    UINT found = 0xBAD;
    EXPECT_EQ(enumerator->EnumAudioEndpoints(flow, states, devices.Put()), S_OK);
    EXPECT_EQ(devices->GetCount(&found), S_OK);
    return found;
  };
  EXPECT_EQ(count(eRender, DEVICE_STATE_ACTIVE), 1U);
  EXPECT_EQ(count(eRender, DEVICE_STATEMASK_ALL), 2U);
  EXPECT_EQ(count(eAll, DEVICE_STATE_ACTIVE), 2U);
  machine->description().endpoints[0].state = DEVICE_STATE_UNPLUGGED;
  EXPECT_EQ(count(eRender, DEVICE_STATE_ACTIVE), 0U);
  ComPtr<IMMDevice> device;
  EXPECT_EQ(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, device.Put()),
            orv_apo::kNotFound);
  EXPECT_EQ(enumerator->GetDevice(L"3", device.Put()), orv_apo::kNotFound);
}

TEST(SimulatedMachine, PropertiesComeInTheirOrderAndObjectsOutliveTheMachine) {
  auto machine = SimulatedMachine::InMemory(Describe(R"({"endpoints": [{"id": "one", "properties": {
      "{B3F8FA53-0004-438E-9003-51A46E139BFC},2": "SUBSYS_1234",
      "{B3F8FA53-0004-438E-9003-51A46E139BFC},27": {"blob": "01 02 03"}}}]})"));
  ComPtr<IMMDeviceEnumerator> enumerator;
  ComPtr<IMMDevice> device;
  ASSERT_EQ(machine->CreateDeviceEnumerator(enumerator.Put()), S_OK);
  ASSERT_EQ(enumerator->GetDevice(L"one", device.Put()), S_OK);
  machine.reset();

  ComPtr<IPropertyStore> store;
  ASSERT_EQ(device->OpenPropertyStore(STGM_READ, store.Put()), S_OK);
  PROPERTYKEY text{};
  PROPERTYKEY blob{};
  ASSERT_EQ(store->GetAt(0, &text), S_OK);
  ASSERT_EQ(store->GetAt(1, &blob), S_OK);
  EXPECT_EQ(blob.pid, 27U);
  PROPERTYKEY beyond{};
  EXPECT_EQ(store->GetAt(3, &beyond), E_INVALIDARG);
  PROPVARIANT value;
  ASSERT_EQ(store->GetValue(text, &value), S_OK);
  EXPECT_STREQ(value.pwszVal, L"SUBSYS_1234");
  PropVariantClear(&value);
  ASSERT_EQ(store->GetValue(blob, &value), S_OK);
  EXPECT_EQ(std::vector(value.blob.pBlobData, value.blob.pBlobData + value.blob.cbSize),
            (std::vector<BYTE>{1, 2, 3}));
  EXPECT_LT(store->SetValue(blob, value), 0);
  PropVariantClear(&value);
}

TEST(SimulatedMachine, ReadValueRetriesAGrowingValueButNotForever) {
  const auto machine = SimulatedMachine::InMemory();
  const auto key = MachineKey(*machine, L"K");
  SetBytes(*key, L"v", {1, 2});
  std::uint32_t type = 0;
  std::vector<std::uint8_t> bytes{0xCC};
  machine->faults().FailAlways("registry.query_value", kRegMoreData);
  EXPECT_EQ(ReadValue(*key, L"v", type, bytes), kRegMoreData);
  EXPECT_EQ(bytes, std::vector<std::uint8_t>{0xCC});
  machine->faults().Clear();
  machine->faults().FailNth("registry.query_value", 2, kRegMoreData);
  EXPECT_EQ(ReadValue(*key, L"v", type, bytes), kRegOk);
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 2}));
}

constexpr char kOneEndpoint[] =
    R"({"endpoints": [{"id": "{0.0.0.00000000}.{5D6F1B2A-93C4-4E1D-8A7B-0C1D2E3F4A5B}"}]})";

class InMemory final : public MachineUnderTest {
 public:
  Machine& machine() override { return *machine_; }

 private:
  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory(Describe(kOneEndpoint));
};

class InFolder final : public MachineUnderTest {
 public:
  Machine& machine() override { return *machine_; }
  Machine* other() override { return other_.get(); }

 private:
  MachineFolder folder_{"REGEDIT4\n", kOneEndpoint};
  std::unique_ptr<SimulatedMachine> machine_ = folder_.Open();
  std::unique_ptr<SimulatedMachine> other_ = folder_.Open();
};

INSTANTIATE_TEST_SUITE_P(
    Simulated, MachineConformance,
    testing::Values(MachineKind{"InMemory", [] { return std::make_unique<InMemory>(); }},
                    MachineKind{"InFolder", [] { return std::make_unique<InFolder>(); }}),
    MachineKindName);

}  // namespace
}  // namespace orv
