#include <gmock/gmock.h>

#include "sample_machine.h"

namespace orv {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(BrokenMachine, ListsWhatIsHealthyAndTellsWhyTheRestIsNot) {
  SampleMachine machine("broken");
  std::vector<std::pair<std::wstring, std::uint32_t>> load_status;
  for (const ORVAPOEndpointInfo& endpoint : machine.Endpoints()) {
    ORVAPOConfigurationFile file(*machine);
    load_status.emplace_back(endpoint.description(), file.Load(endpoint.config_file(), 0, 0));
    EXPECT_EQ(endpoint.system_effects_disabled(), endpoint.description() == L"Effects Off");
  }
  EXPECT_THAT(
      load_status,
      ElementsAre(Pair(L"Healthy Speakers", kConfigLoaded), Pair(L"Cut Images", kConfigLoaded),
                  Pair(L"Effects Off", kConfigLoaded), Pair(L"Messy Configuration", kConfigBadMode),
                  Pair(L"Unclosed Configuration", kConfigNoDocument),
                  Pair(L"Empty Properties", kConfigEmptyProperties),
                  Pair(L"Missing Configuration", kConfigNoDocument),
                  Pair(L"Unreadable Effect Property", kConfigNoDocument)));
}

}  // namespace
}  // namespace orv
