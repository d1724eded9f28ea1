#include <gtest/gtest.h>

#include <array>
#include <optional>

#include "intel_dsp/skylake/driver_client.h"
#include "intel_machine.h"
#include "platform/text.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;
using Client = KELAPOIntelDriverInterface_SKL;

constexpr std::uint32_t kTone = 0x10014408;
constexpr std::array<std::uint8_t, 12> kToneBlock = {1, 0, 0, 0, 0xFD, 0xFF, 0xFF, 0xFF, 12};
constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

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
  ExpectEachOnce(log_, {L"| Device id not match, skipping device", L"| Output selector activated",
                        L"| Input selector activated", L"| Using pin id: 2",
                        L"| OK: API Version matched: 0x1", L"| Modules count: 2, modules size: 304",
                        L"type MFX, version 2.1.0, name Post Processing Module"});
  machine_.ExpectNothingRefused();
}

TEST_F(SkylakeDriverTest, EndpointsWithoutModuleAreNotActivated) {
  Client client(machine_.get(), nullptr);
  EXPECT_EQ(client.ActivateIKsControls(kHdmi), E_FAIL);
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
  EXPECT_EQ(Client(machine_.get(), nullptr).ActivateIKsControls(L""), S_OK);  // the default one
  EXPECT_EQ(Client(machine_.get(), nullptr).ActivateIKsControls(ToUpperAscii(kSpeakers)), S_OK);
}

TEST_F(SkylakeDriverTest, OtherInterfacesAreNotUsedAndTheModuleListEndsWhereTheAnswerEnds) {
  machine_.skylake().interface_version = 2;
  EXPECT_EQ(Activate(), E_FAIL);
  EXPECT_FALSE(log_.Contains(L"Obtaining modules list..."));
  machine_.skylake().interface_version = 1;
  machine_.skylake().misbehaviour = {Misbehave(Kind::Short, request::kVersion, 0, 4)};
  EXPECT_EQ(Activate(), E_FAIL);
  // The count is two, but the second entry is cut off.
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
}

// Requests carry the type of the module that they are for.
TEST_F(SkylakeDriverTest, FirstOfTwoListedModulesIsTaken) {
  const GUID id = skylake::kModuleId;
  machine_.skylake().module_listed = false;
  machine_.skylake().other_modules = {{id, 1, "First", "1.0"}, {id, 2, "Second", "1.0"}};
  Client client(machine_.get(), nullptr);
  ASSERT_EQ(client.ActivateIKsControls(kSpeakers), S_OK);
  HRESULT status = 77;
  std::uint8_t enabled = 9;
  EXPECT_TRUE(client.GetStatus(status, enabled, 0));
  machine_.ExpectNothingRefused();
}

TEST_F(SkylakeDriverTest, RefusedEventIsNotUnregistered) {
  machine_.skylake().misbehaviour = {Misbehave(Kind::Refuse, request::kRegister, E_ACCESSDENIED)};
  EXPECT_EQ(Client(machine_.get(), OpenEvent()).ActivateIKsControls(kSpeakers), S_OK);
  machine_.ExpectNothingRefused();
}

TEST_F(SkylakeDriverTest, EveryStepOfTheWayMayFailOnce) {
  for (const std::string_view name : kFaultOperations) {
    std::optional<Client> client;
    HRESULT activated = S_FALSE;
    WithEveryCallFailing(
        machine_, FaultOperation::Find(name).value(), E_ACCESSDENIED,
        [&] {
          client.emplace(machine_.get(), OpenEvent());
          activated = client->ActivateIKsControls(kSpeakers);
        },
        [&] {
          HRESULT status = 77;
          EXPECT_EQ(client->SetStatus(status, 1, 0), SUCCEEDED(activated));
        });
  }
}

TEST_F(SkylakeDriverTest, BlocksTravelWholeAndAnswersAreChecked) {
  Client client(machine_.get(), nullptr);
  ASSERT_EQ(client.ActivateIKsControls(kSpeakers), S_OK);
  HRESULT status = 77;
  EXPECT_TRUE(client.SetParameter(status, kTone, kToneBlock.data(), 12, 1));
  EXPECT_TRUE(log_.Contains(L"\n(12 bytes): [01000000fdffffff0c000000]\n"));
  std::uint8_t enabled = 9;
  EXPECT_TRUE(client.GetInstanceStatus(status, enabled));
  EXPECT_EQ(enabled, 1);

  // Longer than asked for, empty, shorter, refused, accepted with a positive status.
  std::array<std::uint8_t, 12> read;
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
  rules = {Misbehave(Kind::Status, "", 4)};
  EXPECT_TRUE(client.SetParameter(status, kTone, kToneBlock.data(), 12, 0));
  EXPECT_EQ(status, 4);
}

TEST_F(SkylakeDriverTest, CircularTopologyIsGivenUp) {
  for (const std::size_t circles : {3U, 0U}) {
    machine_.skylake().endpoints[0].circles = circles;
    machine_->faults().Clear();
    EXPECT_EQ(Activate(), E_FAIL);
    EXPECT_LT(machine_->faults().Calls("topology.enum_parts"), 2000U);
  }
  EXPECT_EQ(log_.Count(L"--- next connector ---"), 1U + 16U);
  EXPECT_FALSE(log_.Contains(L"Found Software_IO."));
}

}  // namespace
}  // namespace orv
