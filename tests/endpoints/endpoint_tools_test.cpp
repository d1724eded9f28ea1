#include "endpoints/endpoint_tools.h"

#include <gmock/gmock.h>

#include "support/endpoint_fixture.h"

namespace orv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr wchar_t kMonitor[] = L"{2B3C4D5E-6F70-4812-93A4-B5C6D7E8F901}";

class EndpointEnumeration : public ::testing::Test {
 protected:
  // Gives the guid texts of what was found.
  std::vector<std::wstring> Enumerate() {
    const bool found = ORVAPOEndpointTools(*machine_).EnumerateEndpoints(endpoints_);
    EXPECT_EQ(found, !endpoints_.empty());
    std::vector<std::wstring> texts;
    for (const ORVAPOEndpointInfo& endpoint : endpoints_) texts.push_back(endpoint.guid_text());
    return texts;
  }

  EndpointMachine machine_;
  std::vector<ORVAPOEndpointInfo> endpoints_;
};

TEST_F(EndpointEnumeration, ListsActiveRenderEndpointsThatLoadInThePlatformsOrder) {
  machine_.AddSpeakers(kHeadphones);
  machine_.AddSpeakers(kMonitor).state = DEVICE_STATE_UNPLUGGED;
  machine_.AddDevice(L"{99999999-6F70-4812-93A4-B5C6D7E8F901}");  // without keys
  machine_.AddDevice(kMicrophone, eCapture);
  machine_.SetText(PropertiesKey(kMicrophone, false), kDeviceNameValue, L"Microphone");
  machine_.AddSpeakers(kSpeakers);
  EXPECT_THAT(Enumerate(), ElementsAre(kHeadphones, kSpeakers));
  EXPECT_FALSE(machine_.HasKey(ApoKey(kMonitor)));
  machine_->description().endpoints.clear();
  EXPECT_THAT(Enumerate(), IsEmpty());
}

TEST_F(EndpointEnumeration, AFailingDeviceCallCostsTheEndpointsItConcerns) {
  for (const wchar_t* guid : {kSpeakers, kHeadphones, kMonitor}) machine_.AddSpeakers(guid);
  for (const FaultOperation operation :
       FaultOperations{"devices.create_enumerator", "devices.enumerate", "devices.count"}) {
    machine_->faults().FailNth(operation, 1, E_FAIL);
    endpoints_.emplace_back(*machine_);
    EXPECT_THAT(Enumerate(), IsEmpty()) << operation.name();
  }
  for (const FaultOperation operation :
       FaultOperations{"devices.item", "device.get_state", "device.get_id"}) {
    machine_->faults().Clear();
    machine_->faults().FailNth(operation, 2, E_FAIL);
    EXPECT_THAT(Enumerate(), ElementsAre(kSpeakers, kMonitor)) << operation.name();
  }
}

}  // namespace
}  // namespace orv
