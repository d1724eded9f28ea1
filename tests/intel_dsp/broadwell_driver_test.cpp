#include <gtest/gtest.h>

#include <array>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_machine.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;
using Client = ORVAPOIntelDriverInterface_BRW;

constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

class BroadwellDriverTest : public testing::Test {
 protected:
  IntelMachine machine_;
  DiagnosticLog log_;
};

TEST_F(BroadwellDriverTest, ModuleIsSwitchedOnAndAnswers) {
  machine_.broadwell().interfaces = 2;
  machine_->faults().FailNth("device.open", 1, kDeviceAccessDenied);  // the first does not open
  HRESULT status = 77;
  Client client(*machine_.get(), status, broadwell::kPostProcessingModule);
  EXPECT_EQ(status, S_OK);
  EXPECT_TRUE(log_.Contains(L"SetStatus(), OK - 0x0\n"));
  EXPECT_FALSE(log_.Contains(L"0xffffffffffffffff"));

  std::uint8_t version = 0;
  std::uint8_t features = 0;
  EXPECT_TRUE(client.GetAPIVersion(status, version, features));
  EXPECT_EQ(version, 1);
  EXPECT_EQ(features, 5);
  EXPECT_TRUE(log_.Contains(L"Intel GetAPIVersion: 0x0, 1 5\n"));
  std::string name = "stale";
  std::string text = "stale";
  EXPECT_TRUE(client.GetModuleInfo(status, name, text));
  EXPECT_EQ(name + " " + text, "Post Processing Module 2.1.0");
  EXPECT_TRUE(log_.Contains(L"Intel GetModuleInfo: 0x0, Post Processing Module, 2.1.0\n"));

  const std::array<std::byte, 12> sent = {std::byte{1}};
  EXPECT_TRUE(client.SetParameter(status, 20, sent.data(), 12, 1));
  std::array<std::byte, 12> read;
  read.fill(std::byte{0xEE});
  EXPECT_TRUE(client.GetParameter(status, 20, read.data(), 12, 0));
  EXPECT_EQ(read, sent);
  EXPECT_TRUE(log_.Contains(L"GetParameter returned is 64017\n"));
  EXPECT_EQ(machine_->ReceivedRecords().at(0).selector, 1U);
  machine_.ExpectNothingRefused();
}

TEST_F(BroadwellDriverTest, AbsentDriverFailsEveryRequest) {
  machine_->description().drivers.broadwell.reset();
  HRESULT status = 77;
  Client client(*machine_.get(), status, broadwell::kPostProcessingModule);
  EXPECT_EQ(status, E_FAIL);
  EXPECT_TRUE(log_.Contains(L"Broadwell OpenIntelDriver() returned handle 0xffffffffffffffff\n"));
  EXPECT_FALSE(log_.Contains(L"SetStatus"));
  std::uint8_t byte = 0;
  std::string text;
  EXPECT_FALSE(client.GetAPIVersion(status, byte, byte));
  EXPECT_FALSE(client.GetModuleInfo(status, text, text));
  EXPECT_FALSE(client.SetStatus(status));
  EXPECT_FALSE(client.SetParameter(status, 0, "\1\0\0", 4, 0));
  EXPECT_FALSE(client.GetParameter(status, 0, &byte, 1, 0));
  EXPECT_EQ(client.last_error(), kDeviceInvalidHandle);
  EXPECT_TRUE(log_.Contains(L"Intel GetAPIVersion DeviceIoControl failed, error 6\n"));
  EXPECT_TRUE(log_.Contains(L"SetStatus(), DeviceIoControl failed, error 6\n"));
}

TEST_F(BroadwellDriverTest, NegativeStatusIsNoFailureOfTheTransfer) {
  HRESULT status = 77;
  Client client(*machine_.get(), status, broadwell::kPostProcessingModule);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, "", kRefusal)};
  std::array<std::byte, 4> block = {};
  EXPECT_TRUE(client.SetParameter(status, 0, block.data(), 4, 0));
  EXPECT_EQ(status, kRefusal);
  EXPECT_TRUE(client.GetParameter(status, 0, block.data(), 4, 0));
  EXPECT_EQ(status, kRefusal);
  std::uint8_t version = 9;
  EXPECT_FALSE(client.GetAPIVersion(status, version, version));
  EXPECT_EQ(version, 9);
  std::string name = "stale";
  EXPECT_FALSE(client.GetModuleInfo(status, name, name));
  EXPECT_EQ(name, "");
}

TEST_F(BroadwellDriverTest, ShortAnswersAreNotTakenForZeros) {
  HRESULT status = 77;
  Client client(*machine_.get(), status, broadwell::kPostProcessingModule);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Short, "", 0, 1)};
  std::array<std::byte, 92> block;
  block.fill(std::byte{0xEE});
  EXPECT_FALSE(client.GetParameter(status, 21, block.data(), 92, 0));
  EXPECT_EQ(status, E_FAIL);
  EXPECT_EQ(block[91], std::byte{0xEE});
  std::string text;
  EXPECT_FALSE(client.GetModuleInfo(status, text, text));
  std::uint8_t version = 9;
  EXPECT_FALSE(client.GetAPIVersion(status, version, version));
  const std::vector<std::byte> huge(broadwell::kLargestParameter + 1);
  EXPECT_FALSE(client.SetParameter(status, 25, huge.data(), 64001, 0));
  EXPECT_EQ(status, E_INVALIDARG);
}

}  // namespace
}  // namespace orv
