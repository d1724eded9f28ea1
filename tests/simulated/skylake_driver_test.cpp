// The Skylake driver of a simulated machine: strict towards its clients, and unreliable on demand.
#include "simulated/driver_client.h"
#include "simulated/drivers/block_format.h"
#include "simulated/machine_folder.h"

namespace orv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr wchar_t kSpeakers[] = L"{0.0.0.00000000}.{A}";
constexpr wchar_t kDisplay[] = L"{0.0.0.00000000}.{B}";
constexpr wchar_t kEventName[] = L"Global\\Changed";
constexpr HRESULT kInvalid = E_INVALIDARG;
constexpr HRESULT kNotReady = static_cast<HRESULT>(0x80070015);
constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);
constexpr HRESULT kSetNotFound = static_cast<HRESULT>(0x80070492);
constexpr HRESULT kMoreData = static_cast<HRESULT>(0x800700EA);
constexpr std::uint32_t kTone = 0x10014408;
constexpr std::uint32_t kVolume = 0x1001440A;

std::string MachineText(const std::string& misbehaviour = "") {
  return R"({"endpoints": [{"id": "{0.0.0.00000000}.{A}"}, {"id": "{0.0.0.00000000}.{B}"}],
             "events": ["Global\\Changed"],
             "drivers": {"skylake": {
               "endpoints": [{"id": "{0.0.0.00000000}.{A}"},
                             {"id": "{0.0.0.00000000}.{B}", "module": false}],
               "features": 5, "revision": 2, "misbehaviour": [)" +
         misbehaviour + "]}}}";
}

class SkylakeDriver : public testing::Test {
 protected:
  void Start(const std::string& misbehaviour = "") {
    machine_ = SimulatedMachine::InMemory(Describe(MachineText(misbehaviour)));
    client_ = std::make_unique<SkylakeClient>(*machine_);
    ASSERT_EQ(client_->Walk(kSpeakers), S_OK);
  }
  std::unique_ptr<SimulatedMachine> machine_;
  std::unique_ptr<SkylakeClient> client_;
};

TEST_F(SkylakeDriver, OnlyTheWayOverBothSelectorsReachesTheModule) {
  Bytes version(5);
  for (const auto& [forgotten, reason] :
       {std::pair(1U, "selector 0x10002"), std::pair(2U, "selector 0x10001")}) {
    machine_ = SimulatedMachine::InMemory(Describe(MachineText()));
    machine_->faults().FailNth("topology.set_selection", forgotten, E_FAIL);
    SkylakeClient client(*machine_);
    ASSERT_EQ(client.Walk(kSpeakers), S_OK);
    EXPECT_EQ(client.Ask(Header(0, 1), version), kNotReady);
    EXPECT_THAT(LastRefusal(*machine_), HasSubstr(reason));
  }
  Start();
  EXPECT_EQ(client_->Ask(Header(0, 1), version), S_OK);
  EXPECT_EQ(version, Bytes(Wire().Byte(1).Byte(5).Zeros(2).Byte(2)));
  ASSERT_EQ(client_->Walk(kDisplay), S_OK);
  EXPECT_EQ(client_->Ask(Header(0, 1), version), kSetNotFound) << "a filter without the module";
}

TEST_F(SkylakeDriver, RefusesEveryWrongByteOfARequestWithItsReason) {
  Start();
  const Bytes good = LongRequest(3, 2, kTone, 1);
  const Bytes data = Wire().Word(12).Zeros(12);
  ASSERT_EQ(client_->Send(good, data), S_OK);
  const auto spoiled = [&good](std::size_t offset, std::uint32_t word) {
    Bytes request = good;
    Put(request, offset, word);
    return request;
  };
  const struct {
    Bytes request;
    Bytes data;
    const char* reason;
    HRESULT status = kInvalid;
  } cases[] = {
      {spoiled(0, 1), data, "no property set", kSetNotFound},
      {spoiled(16, 7), data, "property 7", kNotFound},
      {spoiled(16, 1), data, "bytes instead of 48"},
      {spoiled(16, 2), data, "an unexpected parameter identifier"},
      {spoiled(20, 0x10000002), data, "flags 0x10000002"},
      {spoiled(24, 8), data, "node 8 instead of 9"},
      {spoiled(28, 1), data, "the reserved word"},
      {spoiled(32, 0), data, "not the post-processing interface"},
      {spoiled(48, 0), data, "type word 0"},
      {spoiled(52, 0), data, "not the module's identifier"},
      {spoiled(68, 0x10014400), data, "no such parameter", kNotFound},
      {LongRequest(3, 2, kTone, 2), data, "apply flag 2"},
      {Wire().Block(good).Byte(0), data, "74 bytes instead of 73"},
      {Header(0, 2), data, "flags 0x2"},
      {good, Wire().Word(11).Zeros(12), "the byte count"},
      {good, Wire().Word(8).Zeros(8), "8 bytes instead of 12"},
      {LongRequest(2, 2), Bytes(2), "a status is one byte"},
      {LongRequest(2, 2), Wire().Byte(2), "a status is one byte"},
      {ModuleRequest(4, 2), Wire().Word(1), "eight bytes"},
      {ModuleRequest(4, 2), Wire().Handle(1), "no open event"},
  };
  for (const auto& wrong : cases) {
    EXPECT_EQ(client_->Send(wrong.request, wrong.data), wrong.status) << wrong.reason;
    EXPECT_THAT(LastRefusal(*machine_), HasSubstr(wrong.reason));
  }
  EXPECT_EQ(machine_->ReceivedRecords().size(), 1U);
  Bytes small(15);
  EXPECT_LT(client_->Ask(LongRequest(3, 1, kTone), small), 0);
  EXPECT_EQ(small, Bytes(15)) << "nothing is written where the answer has no room";
  machine_->description().drivers.skylake->module_instantiated = false;
  EXPECT_EQ(client_->Send(good, data), kNotReady);
  EXPECT_THAT(client_->GetBlock(kTone), IsEmpty());
  EXPECT_THAT(LastRefusal(*machine_), HasSubstr("not instantiated"));
}

TEST_F(SkylakeDriver, EventsAreRegisteredOnceAndUnregistered) {
  Start();
  std::uint32_t error = 0;
  const auto event = machine_->OpenNamedEvent(kEventName, error);
  const Bytes handle = Wire().Handle(event->native());
  EXPECT_EQ(client_->Send(LongRequest(5, 2), handle), kInvalid);
  for (const HRESULT expected : {S_OK, kInvalid}) {
    EXPECT_EQ(client_->Send(ModuleRequest(4, 2), handle), expected);
    EXPECT_EQ(machine_->RegisteredEvents(), 1U);
  }
  EXPECT_EQ(client_->Send(LongRequest(5, 2), handle), S_OK);
  EXPECT_EQ(machine_->RegisteredEvents(), 0U);
}

TEST_F(SkylakeDriver, EachMisbehaviourTakesEffect) {
  Start(R"({"kind": "refuse", "request": "0x10014401", "nth": 2, "status": "0x80070005"},
           {"kind": "status", "request": "0x10014402", "direction": "set", "status": 1},
           {"kind": "absent", "request": "0x10014403"},
           {"kind": "stale", "request": "0x10014408", "nth": 2},
           {"kind": "corrupt", "request": "0x1001440A", "offset": 4, "mask": 3},
           {"kind": "late", "request": "0x1001440B", "delay_ms": 1},
           {"kind": "uncounted", "request": "version"},
           {"kind": "short", "request": "modules", "size": 100})");
  EXPECT_EQ(client_->GetBlock(0x10014401).size(), 16U);
  EXPECT_THAT(client_->GetBlock(0x10014401), IsEmpty());
  EXPECT_EQ(client_->status, E_ACCESSDENIED);
  EXPECT_EQ(client_->GetBlock(0x10014401).size(), 16U);
  EXPECT_EQ(client_->SetBlock(0x10014402, Bytes(12)), 1) << "done, with a positive status";
  EXPECT_EQ(client_->GetBlock(0x10014402), Bytes(12));
  client_->GetBlock(0x10014403);
  EXPECT_EQ(client_->status, kNotFound);
  const Bytes fresh = client_->GetBlock(kTone);
  Bytes changed = fresh;
  Put(changed, 4, 5);
  EXPECT_EQ(client_->SetBlock(kTone, changed), S_OK);
  EXPECT_EQ(client_->GetBlock(kTone), fresh) << "the block before the write";
  EXPECT_EQ(client_->GetBlock(kTone), changed);
  const Bytes block = Wire().Word(0).Word(40).Word(0).Word(0);
  EXPECT_EQ(client_->SetBlock(kVolume, block), S_OK);
  EXPECT_EQ(WordAt(client_->GetBlock(kVolume), 4), 43U);
  EXPECT_EQ(machine_->ReceivedRecords().back().bytes, block) << "the driver has the right one";
  EXPECT_EQ(client_->GetBlock(0x1001440B).size(), 20U);
  EXPECT_EQ(client_->Send(Header(1, 1).Guid(kModuleInterface)), kMoreData);
  EXPECT_EQ(client_->answered, 100U);
  Bytes version(5);
  EXPECT_EQ(client_->Ask(Header(0, 1), version), S_OK);
  EXPECT_EQ(client_->answered, 0U);
  EXPECT_EQ(version, Bytes(Wire().Byte(1).Byte(5).Zeros(2).Byte(2)));
  std::vector<std::string> refused;
  for (const DriverRefusal& refusal : machine_->RefusedRequests())
    refused.push_back((refusal.planned ? "planned, " : "") + refusal.request +
                      refusal.reason.substr(25));
  EXPECT_THAT(refused, ElementsAre("planned, parameter 0x10014401 refuses it with 0x80070005",
                                   "planned, parameter 0x10014403 leaves it out"));
}

TEST_F(SkylakeDriver, ObjectsOutliveTheirMachine) {
  Start();
  std::uint32_t error = 0;
  const auto event = machine_->OpenNamedEvent(kEventName, error);
  machine_.reset();
  event->Set();
  EXPECT_EQ(client_->SetBlock(kTone, Bytes(12)), S_OK);
  EXPECT_EQ(client_->GetBlock(kTone), Bytes(12));
}

}  // namespace
}  // namespace orv
