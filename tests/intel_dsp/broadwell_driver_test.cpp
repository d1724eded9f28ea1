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
  void ExpectLogged(std::initializer_list<const wchar_t*> lines) const {
    for (const wchar_t* line : lines)
      EXPECT_TRUE(log_.Contains(line)) << testing::PrintToString(line);
  }

  IntelMachine machine_;
  DiagnosticLog log_;
  HRESULT status_ = 77;
  std::uint8_t version_ = 9;
  std::uint8_t features_ = 9;
  std::string name_ = "stale";
  std::string text_ = "stale";
};

TEST_F(BroadwellDriverTest, ModuleIsSwitchedOnAndAnswers) {
  machine_.broadwell().interfaces = 3;
  machine_->faults().FailNth("device.open", 1, kDeviceAccessDenied);  // the second opens
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  EXPECT_EQ(status_, S_OK);
  EXPECT_EQ(machine_->faults().Calls("device.open"), 2U);
  EXPECT_TRUE(client.GetAPIVersion(status_, version_, features_));
  EXPECT_EQ(version_ * 10 + features_, 15);
  EXPECT_TRUE(client.GetModuleInfo(status_, name_, text_));
  EXPECT_EQ(name_ + " " + text_, "Post Processing Module 2.1.0");

  const std::array<std::byte, 12> sent = {std::byte{1}};
  EXPECT_TRUE(client.SetParameter(status_, 20, sent.data(), 12, 1));
  std::array<std::byte, 12> read;
  read.fill(std::byte{0xEE});
  EXPECT_TRUE(client.GetParameter(status_, 20, read.data(), 12, 0));
  EXPECT_EQ(read, sent);
  EXPECT_FALSE(client.short_answer());
  machine_.ExpectNothingRefused();
  ExpectLogged({L"| Broadwell OpenIntelDriver() returned handle 0x",
                L"| ORVAPOIntelDriverInterface_BRW::SetStatus(), OK - 0x0\n",
                L"| Intel GetAPIVersion: 0x0, 1 5\n",
                L"| Intel GetModuleInfo: 0x0, Post Processing Module, 2.1.0\n",
                L"| GetParameter returned is 64017\n"});
}

TEST_F(BroadwellDriverTest, AbsentDriverFailsEveryRequest) {
  machine_->description().drivers.broadwell.reset();
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  EXPECT_EQ(status_, E_FAIL);
  EXPECT_FALSE(log_.Contains(L"SetStatus"));
  EXPECT_FALSE(client.GetAPIVersion(status_, version_, features_));
  EXPECT_FALSE(client.GetModuleInfo(status_, text_, text_));
  EXPECT_FALSE(client.SetStatus(status_));
  EXPECT_FALSE(client.SetParameter(status_, 0, "\1\0\0", 4, 0));
  EXPECT_FALSE(client.GetParameter(status_, 0, &version_, 1, 0));
  EXPECT_EQ(client.last_error(), kDeviceInvalidHandle);
  ExpectLogged(
      {L"| Intel GetAPIVersion DeviceIoControl failed, error 6\n",
       L"| Intel GetModuleInfo DeviceIoControl failed, error 6\n",
       L"| ORVAPOIntelDriverInterface_BRW::SetStatus(), DeviceIoControl failed, error 6\n"});
}

TEST_F(BroadwellDriverTest, NegativeStatusIsNotAFailureOfTheTransfer) {
  machine_->faults().FailNth("device.control", 1, kDeviceGenFailure);
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  EXPECT_EQ(client.last_error(), kDeviceGenFailure);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Status, "", kRefusal)};
  std::array<std::byte, 4> block = {};
  EXPECT_TRUE(client.SetParameter(status_, 0, block.data(), 4, 0));
  EXPECT_EQ(status_, kRefusal);
  EXPECT_EQ(client.last_error(), 0U);
  EXPECT_TRUE(client.GetParameter(status_, 0, block.data(), 4, 0));
  EXPECT_EQ(status_, kRefusal);
  EXPECT_FALSE(client.GetAPIVersion(status_, version_, version_));
  EXPECT_EQ(version_, 9);
  EXPECT_FALSE(client.GetModuleInfo(status_, name_, name_));
  EXPECT_EQ(name_, "");
}

TEST_F(BroadwellDriverTest, ShortAnswersAreTakenAndKnown) {
  Client client(*machine_.get(), status_, broadwell::kPostProcessingModule);
  machine_.broadwell().misbehaviour = {Misbehave(Kind::Short, "", 0, 1)};
  std::array<std::byte, 92> block;
  block.fill(std::byte{0xEE});
  EXPECT_TRUE(client.GetParameter(status_, 21, block.data(), 92, 0));
  EXPECT_TRUE(client.short_answer());
  EXPECT_EQ(block[91], std::byte{0});
  EXPECT_TRUE(client.GetModuleInfo(status_, name_, text_));
  EXPECT_EQ(name_ + text_, "P");
  EXPECT_TRUE(client.GetAPIVersion(status_, version_, features_));
  EXPECT_EQ(version_ * 10 + features_, 10);
  const std::vector<std::byte> huge(broadwell::kLargestParameter + 1);
  EXPECT_FALSE(client.SetParameter(status_, 25, huge.data(), 64001, 0));
  EXPECT_EQ(status_, E_INVALIDARG);
}

}  // namespace
}  // namespace orv
