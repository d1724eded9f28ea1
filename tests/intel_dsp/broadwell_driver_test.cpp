#include <gtest/gtest.h>

#include <array>

#include "intel_dsp/broadwell/driver_client.h"
#include "intel_machine.h"

namespace orv {
namespace {

using Kind = DriverMisbehaviour::Kind;
using Client = ORVAPOIntelDriverInterface_BRW;

constexpr HRESULT kRefusal = static_cast<HRESULT>(0xC0000001);

class BroadwellDriverTest : public testing::Test {
 protected:
  IntelMachine machine_;
  HRESULT status_ = 77;
};

TEST_F(BroadwellDriverTest, ModuleIsSwitchedOnAndAnswers) {
  machine_.broadwell().interfaces = 2;
  machine_->faults().FailNth("device.open", 1, kDeviceAccessDenied);  // the first does not open
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  EXPECT_EQ(status_, S_OK);

  std::uint8_t version = 0;
  std::uint8_t features = 0;
  EXPECT_TRUE(client.GetAPIVersion(status_, version, features));
  EXPECT_EQ(version, 1);
  EXPECT_EQ(features, 5);
  std::string name = "stale";
  std::string text = "stale";
  EXPECT_TRUE(client.GetModuleInfo(status_, name, text));
  EXPECT_EQ(name + " " + text, "Post Processing Module 2.1.0");

  const std::array<std::byte, 12> sent = {std::byte{1}};
  EXPECT_TRUE(client.SetParameter(status_, 20, sent.data(), 12, 1));
  std::array<std::byte, 12> read;
  read.fill(std::byte{0xEE});
  EXPECT_TRUE(client.GetParameter(status_, 20, read.data(), 12, 0));
  EXPECT_EQ(read, sent);
  EXPECT_EQ(machine_->ReceivedRecords().at(0).selector, 1U);
  machine_.ExpectNothingRefused();
}

TEST_F(BroadwellDriverTest, AbsentDriverFailsEveryRequest) {
  machine_->description().drivers.broadwell.reset();
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  EXPECT_EQ(status_, E_FAIL);
  std::uint8_t byte = 0;
  std::string text;
  EXPECT_FALSE(client.GetAPIVersion(status_, byte, byte));
  EXPECT_FALSE(client.GetModuleInfo(status_, text, text));
  EXPECT_FALSE(client.SetStatus(status_));
  EXPECT_FALSE(client.SetParameter(status_, 0, "\1\0\0", 4, 0));
  EXPECT_FALSE(client.GetParameter(status_, 0, &byte, 1, 0));
  EXPECT_EQ(client.last_error(), kDeviceInvalidHandle);
}

TEST_F(BroadwellDriverTest, NegativeStatusIsNoFailureOfTheTransfer) {
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, "", kRefusal)};
  std::array<std::byte, 4> block = {};
  EXPECT_TRUE(client.SetParameter(status_, 0, block.data(), 4, 0));
  EXPECT_EQ(status_, kRefusal);
  EXPECT_TRUE(client.GetParameter(status_, 0, block.data(), 4, 0));
  EXPECT_EQ(status_, kRefusal);
  std::uint8_t version = 9;
  EXPECT_FALSE(client.GetAPIVersion(status_, version, version));
  EXPECT_EQ(version, 9);
  std::string name = "stale";
  EXPECT_FALSE(client.GetModuleInfo(status_, name, name));
  EXPECT_EQ(name, "");
}

TEST_F(BroadwellDriverTest, ShortAnswersAreNotTakenForZeros) {
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Short, "", 0, 1)};
  std::array<std::byte, 92> block;
  block.fill(std::byte{0xEE});
  EXPECT_FALSE(client.GetParameter(status_, 21, block.data(), 92, 0));
  EXPECT_EQ(status_, E_FAIL);
  EXPECT_EQ(block[91], std::byte{0xEE});
  std::string text;
  EXPECT_FALSE(client.GetModuleInfo(status_, text, text));
  std::uint8_t version = 9;
  EXPECT_FALSE(client.GetAPIVersion(status_, version, version));
  const std::vector<std::byte> huge(broadwell::kLargestParameter + 1);
  EXPECT_FALSE(client.SetParameter(status_, 25, huge.data(), 64001, 0));
  EXPECT_EQ(status_, E_INVALIDARG);
}

}  // namespace
}  // namespace orv
