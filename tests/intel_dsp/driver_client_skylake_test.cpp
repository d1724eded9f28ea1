#include <gtest/gtest.h>

#include <array>
#include <map>

#include "intel_dsp/skylake/driver_client.h"
#include "intel_machine.h"
#include "platform/simulated/counted_object.h"
#include "platform/text.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;
using Client = KELAPOIntelDriverInterface_SKL;

constexpr std::uint32_t kTone = 0x10014408;
constexpr std::array<std::uint8_t, 12> kToneBlock = {1, 0, 0, 0, 0xFD, 0xFF, 0xFF, 0xFF, 12};
constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

// The lines without the places that reported them.
std::vector<std::wstring> Messages(const DiagnosticLog& log) {
  std::vector<std::wstring> messages;
  for (const std::wstring& line : log.Lines())
    messages.push_back(line.substr(line.find(L" | ", line.find(L" | ") + 1) + 3));
  return messages;
}

class SkylakeDriverTest : public testing::Test {
 protected:
  std::shared_ptr<NamedEvent> OpenEvent() {
    std::uint32_t error = 0;
    return machine_->OpenNamedEvent(kChangeEvent, error);
  }
  HRESULT Activate() { return Client(machine_.get(), nullptr).ActivateIKsControls(kSpeakers); }

  IntelMachine machine_;
  DiagnosticLog log_;
};

TEST_F(SkylakeDriverTest, PathIsFollowedToTheModule) {
  {
    Client client(machine_.get(), OpenEvent());
    EXPECT_EQ(client.ActivateIKsControls(kSpeakers), S_OK);
    EXPECT_EQ(machine_->RegisteredEvents(), 1U);
    HRESULT status = 77;
    std::uint8_t version = 0;
    std::uint8_t features = 0;
    EXPECT_TRUE(client.GetAPIVersion(status, version, features));
    EXPECT_EQ(version, 1);
    EXPECT_EQ(features, 5);
    std::string name;
    std::string text;
    EXPECT_TRUE(client.GetModuleInfo(status, name, text));
    EXPECT_EQ(name + " " + text, "Post Processing Module 2.1.0");
  }
  EXPECT_EQ(machine_->RegisteredEvents(), 0U);
  const std::wstring speakers = kSpeakers;
  EXPECT_EQ(
      Messages(log_),
      (std::vector<std::wstring>{
          L"Devices count: 2", L"Matching device id: " + (kHdmi + (L" against: " + speakers)),
          L"Device id not match, skipping device",
          L"Matching device id: " + speakers + L" against: " + speakers,
          L"Matching device id found.", L"--- next connector ---",
          L"Connector Conexant Crash location is passed! ", L"Output selector activated",
          L"Input selector activated",
          L"EnumParts failed. Result: 0x80070490 This is error is expected.",
          L"End of parts; replacing connector", L"Trying to read offload pin id...",
          // The codec knows no pins.
          L"Warning, failed to retrieve pin id! Result: 0x80070492", L"--- next connector ---",
          L"Connector Conexant Crash location is passed! ",
          L"EnumParts failed. Result: 0x80070490 This is error is expected.",
          L"End of parts; replacing connector", L"Trying to read offload pin id...",
          L"Using pin id: 2", L"--- next connector ---", L"End of connectors. Found Software_IO.",
          L"Testing PP API; comparing versions...", L"OK: API Version matched: 0x1",
          L"Obtaining modules list...", L"Modules count: 2, modules size: 304",
          L"Module id:{00000001-0002-0003-0000-000000000000}, type EFX, version 0.1, name Another "
          L"Module",
          L"Module id:{E1284052-8664-4FE4-A353-3878F72704C3}, type MFX, version 2.1.0, name Post "
          L"Processing Module",
          L"--- OK: Matching GUID found! SST PP module is active and ready. ---\n",
          L"SST Driver API: status=0x0, version=0x1, feature=0x5\n",
          L" 0x0, Post Processing Module, 2.1.0\n", L"Unregister module event, hr=0x0\n"}));
  machine_.ExpectNothingRefused();
}

TEST_F(SkylakeDriverTest, EndpointsWithoutModuleAreNotActivated) {
  Client client(machine_.get(), nullptr);
  EXPECT_EQ(client.ActivateIKsControls(kHdmi), E_FAIL);
  EXPECT_TRUE(log_.Contains(L"Failed to find connector part!"));
  EXPECT_TRUE(log_.Contains(L"Software IO connector not found!"));
  HRESULT status = 77;
  std::uint8_t byte = 0;
  std::string text;
  EXPECT_FALSE(client.GetAPIVersion(status, byte, byte));
  EXPECT_EQ(status, kRefusal);
  EXPECT_FALSE(client.GetModuleInfo(status, text, text));
  EXPECT_EQ(status, kRefusal);
  EXPECT_FALSE(client.SetParameter(status, kTone, kToneBlock.data(), 12, 0));
  EXPECT_FALSE(client.GetParameter(status, kTone, &byte, 1, 0));
  EXPECT_FALSE(client.GetStatus(status, byte, 0));
  EXPECT_FALSE(client.SetStatus(status, 1, 0));
  EXPECT_FALSE(client.GetInstanceStatus(status, byte));
  EXPECT_TRUE(
      log_.Contains(L"PP Module not activated.  Cannot set parameters to codec driver.  "
                    L"Status=0x80004005\n"));
  EXPECT_EQ(Client(machine_.get(), nullptr).ActivateIKsControls(L""), S_OK);  // the default one
  EXPECT_EQ(Client(machine_.get(), nullptr).ActivateIKsControls(ToUpperAscii(kSpeakers)), S_OK);
}

TEST_F(SkylakeDriverTest, OtherInterfaceVersionsAreNotUsed) {
  machine_.skylake().interface_version = 2;
  EXPECT_EQ(Activate(), E_FAIL);
  EXPECT_TRUE(log_.Contains(L"Error: API Version mismatch: 0x2"));
  EXPECT_FALSE(log_.Contains(L"Obtaining modules list..."));
}

TEST_F(SkylakeDriverTest, ModuleListEndsWhereTheAnswerEnds) {
  // The count says two, the second entry is cut off.
  machine_.skylake().misbehaviour = {Misbehave(Kind::Short, request::kModules, 0, 8 + 148 + 147)};
  EXPECT_EQ(Activate(), E_FAIL);
  EXPECT_EQ(log_.Count(L"Module id:"), 1U);
  for (const std::uint32_t size : {0U, 7U}) {
    machine_.skylake().misbehaviour[0].size = size;
    EXPECT_EQ(Activate(), E_FAIL);
  }
  machine_.skylake().misbehaviour = {Misbehave(Kind::Corrupt, request::kModules)};
  machine_.skylake().misbehaviour[0].offset = 7;  // 4 thousand million entries
  EXPECT_EQ(Activate(), S_OK);
  machine_.skylake().misbehaviour.clear();
  machine_.skylake().module_listed = false;
  EXPECT_EQ(Activate(), E_FAIL);
  machine_.skylake().module_listed = true;
  machine_.skylake().module.name.clear();
  Client client(machine_.get(), nullptr);
  EXPECT_EQ(client.ActivateIKsControls(kSpeakers), S_OK);
  HRESULT status = 77;
  std::string name;
  std::string text;
  EXPECT_FALSE(client.GetModuleInfo(status, name, text));
  EXPECT_EQ(status, kRefusal);
  EXPECT_TRUE(log_.Contains(L"Error, module name is empty. \n"));
}

TEST_F(SkylakeDriverTest, EveryStepOfTheWayMayFailOnceAndSaysSo) {
  using Lines = std::vector<std::wstring>;
  const std::map<std::string_view, Lines> reports = {
      {"devices.create_enumerator", {L"| Failed to initialize COM device interface!"}},
      {"devices.enumerate", {L"| EnumAudioEndpoints failed!"}},
      {"devices.count", {L"| GetCount for devices list failed!"}},
      {"device.get_id", {L"| Failed to get device id!"}},
      {"topology.connector", {L"| GetConnector failed! "}},
      {"topology.is_connected", {L"| Connector IsConnected failed! "}},
      {"topology.connector_type", {L"| Connector GetType failed! "}},
      {"topology.connected_to", {L"| Connector GetConnectedTo failed! "}},
      {"topology.enum_parts", {L"| EnumParts failed. Result: 0x80070005"}},
      {"topology.part_count",
       {L"| Failed to retrieve count of the outgoing/incoming parts! Result: 0x80070005"}},
      {"topology.part",
       {L"| Failed to retrieve next part from incoming parts! Result: 0x80070005"}},
      {"topology.local_id",
       {L"| IPart interface GetLocalId failed! Result: 0x80070005",
        L"| Warning, failed to retrieve node id! Result: 0x80070005"}},
      {"topology.set_selection",
       {L"| Failed to select output selector! Result: 0x80070005",
        L"| Failed to select input selector! Result: 0x80070005"}},
      {"topology.topology_object", {L"| GetTopologyObject failed! Result: 0x80070005"}},
      {"topology.device_id", {L"| GetDeviceId failed! Result: 0x80070005"}},
      {"devices.get_device",
       {L"| GetDevice failed! Result: 0x80070005", L"| Failed to retrieve wave filer device! "}},
      {"device.activate", {L"| Activate ks control failed! "}},
      {"ks.property",
       {L"| Warning, failed to retrieve pin id! Result: 0x80070005",
        L"| Error Failed to retrieve version!", L"| Error: Failed to retrieve modules list! ",
        L"| Error: Failed to read modules list!", L"| Error: RegisterModuleEvent() failed! \n"}}};
  for (const std::string_view operation : FaultPlan::Operations()) {
    const DiagnosticLog log;
    for (std::uint32_t nth = 1;; ++nth) {
      machine_->faults().Clear();
      machine_->faults().FailNth(operation, nth, E_ACCESSDENIED);
      Client client(machine_.get(), OpenEvent());
      const HRESULT status = client.ActivateIKsControls(kSpeakers);
      if (machine_->faults().Calls(operation) < nth) break;
      machine_->faults().Clear();
      HRESULT request = 77;
      EXPECT_EQ(client.SetStatus(request, 1, 0), SUCCEEDED(status)) << operation << ' ' << nth;
    }
    const auto expected = reports.find(operation);
    for (const std::wstring& line : expected == reports.end() ? Lines{} : expected->second)
      EXPECT_TRUE(log.Contains(line)) << operation << ": " << line;
  }
}

TEST_F(SkylakeDriverTest, BlocksTravelWholeAndAnswersAreChecked) {
  Client client(machine_.get(), nullptr);
  ASSERT_EQ(client.ActivateIKsControls(kSpeakers), S_OK);
  EXPECT_TRUE(log_.Contains(L"Warning: Event handle not opened.  Skipping event register.\n"));
  HRESULT status = 77;
  EXPECT_TRUE(client.SetParameter(status, kTone, kToneBlock.data(), 12, 1));
  EXPECT_TRUE(log_.Contains(L"\n(12 bytes): [01000000fdffffff0c000000]\n"));
  std::array<std::uint8_t, 12> read;
  read.fill(0xEE);
  EXPECT_TRUE(client.GetParameter(status, kTone, read.data(), 12, 0));
  EXPECT_EQ(read, kToneBlock);
  EXPECT_EQ(machine_->ReceivedRecords().at(0).selector, 1U);
  std::uint8_t enabled = 9;
  EXPECT_TRUE(client.SetStatus(status, 0, 1));
  EXPECT_TRUE(client.GetStatus(status, enabled, 0));
  EXPECT_EQ(enabled, 0);
  EXPECT_TRUE(client.GetInstanceStatus(status, enabled));
  EXPECT_EQ(enabled, 1);
  machine_.ExpectNothingRefused();

  // Longer than asked for, empty, shorter, refused, accepted with a remark.
  read.fill(0xEE);
  EXPECT_FALSE(client.GetParameter(status, kTone, read.data(), 11, 0));
  EXPECT_EQ(status, E_FAIL);
  EXPECT_EQ(read[0], 0xEE);
  auto& rules = machine_.skylake().misbehaviour;
  rules = {Misbehave(Kind::Short, "", 0, 0)};
  EXPECT_FALSE(client.GetParameter(status, kTone, read.data(), 12, 0));
  EXPECT_FALSE(client.GetInstanceStatus(status, enabled));
  EXPECT_FALSE(client.GetStatus(status, enabled, 0));
  EXPECT_EQ(enabled, 1);
  rules = {Misbehave(Kind::Short, "", 0, 1)};
  EXPECT_TRUE(client.GetParameter(status, kTone, read.data(), 12, 0));
  EXPECT_EQ(read, (std::array<std::uint8_t, 12>{1}));
  rules = {Misbehave(Kind::Refuse, "", kRefusal)};
  EXPECT_FALSE(client.SetParameter(status, kTone, kToneBlock.data(), 12, 0));
  EXPECT_EQ(status, kRefusal);
  EXPECT_TRUE(log_.Contains(L"Error: Set param failed.\n"));
  rules = {Misbehave(Kind::Status, "", 4)};
  EXPECT_TRUE(client.SetParameter(status, kTone, kToneBlock.data(), 12, 0));
  EXPECT_EQ(status, 4);
}

// Endpoint, connector and part in one: whatever is connected to it is itself.
class CircularDevice final
    : public CountedObject<IMMDevice, IDeviceTopology, IConnector, IPart, IPartsList> {
 public:
  unsigned visits = 0;
  UINT part_count = 3;

  HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD, PROPVARIANT*, void** object) override {
    return QueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE GetConnector(UINT, IConnector** other) override { return Give(other); }
  HRESULT STDMETHODCALLTYPE GetConnectedTo(IConnector** other) override { return Give(other); }
  HRESULT STDMETHODCALLTYPE GetPart(UINT, IPart** part) override { return Give(part); }
  HRESULT STDMETHODCALLTYPE EnumPartsIncoming(IPartsList** parts) override {
    ++visits;
    return Give(parts);
  }
  HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override {
    *count = part_count;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetType(ConnectorType* type) override {
    *type = Physical_External;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE IsConnected(BOOL* connected) override {
    *connected = TRUE;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD, IPropertyStore**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetId(LPWSTR*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetState(DWORD*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetConnectorCount(UINT*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetSubunitCount(UINT*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetSubunit(UINT, ISubunit**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetPartById(UINT, IPart**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetDeviceId(LPWSTR*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetSignalPath(IPart*, IPart*, BOOL, IPartsList**) override {
    return kNo;
  }
  HRESULT STDMETHODCALLTYPE GetDataFlow(DataFlow*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE ConnectTo(IConnector*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE Disconnect() override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetConnectorIdConnectedTo(LPWSTR*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetDeviceIdConnectedTo(LPWSTR*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetName(LPWSTR*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetLocalId(UINT*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetGlobalId(LPWSTR*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetPartType(PartType*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetSubType(GUID*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetControlInterfaceCount(UINT*) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetControlInterface(UINT, IControlInterface**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE EnumPartsOutgoing(IPartsList**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE GetTopologyObject(IDeviceTopology**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE Activate(DWORD, REFIID, void**) override { return kNo; }
  HRESULT STDMETHODCALLTYPE RegisterControlChangeCallback(REFGUID, IControlChangeNotify*) override {
    return kNo;
  }
  HRESULT STDMETHODCALLTYPE UnregisterControlChangeCallback(IControlChangeNotify*) override {
    return kNo;
  }

 private:
  static constexpr HRESULT kNo = E_NOTIMPL;
  template <class Interface>
  HRESULT Give(Interface** interface_pointer) {
    AddRef();
    *interface_pointer = this;
    return S_OK;
  }
};

TEST_F(SkylakeDriverTest, CircularTopologyIsGivenUp) {
  ComPtr<IMMDeviceEnumerator> devices;
  ASSERT_EQ(machine_->CreateDeviceEnumerator(devices.Put()), S_OK);
  const auto device = ComPtr<CircularDevice>::Adopt(new CircularDevice);
  WaveFilter filter;
  EXPECT_EQ(TopologyWalk(*devices).FindWaveFilter(*device, filter), E_FAIL);
  EXPECT_LT(device->visits, 2000U);
  device->part_count = 0;
  EXPECT_EQ(TopologyWalk(*devices).FindWaveFilter(*device, filter), E_NOTIMPL);
  EXPECT_TRUE(log_.Contains(L"| No parts were found!"));
}

}  // namespace
}  // namespace orv
