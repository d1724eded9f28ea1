#include <gmock/gmock.h>

#include "config/mode_selector.h"
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
  }
  EXPECT_THAT(
      load_status,
      ElementsAre(Pair(L"Healthy Speakers", kConfigLoaded), Pair(L"Cut Images", kConfigLoaded),
                  Pair(L"Effects Off", kConfigLoaded), Pair(L"Messy Configuration", kConfigBadMode),
                  Pair(L"Unclosed Configuration", kConfigNoDocument),
                  Pair(L"Empty Properties", kConfigEmptyProperties),
                  Pair(L"Missing Configuration", kConfigNoDocument),
                  Pair(L"Unreadable Effect Property", kConfigNoDocument)));
  EXPECT_TRUE(machine.Endpoint(L"Unreadable Effect Property").config_file().empty());
  EXPECT_TRUE(machine.Endpoint(L"Effects Off").system_effects_disabled());
  EXPECT_FALSE(machine.Endpoint(L"Healthy Speakers").system_effects_disabled());
}

TEST(BrokenMachine, WholeEntriesOfCutImagesApply) {
  SampleMachine machine("broken");
  const ORVAPOEndpointInfo endpoint = machine.Endpoint(L"Cut Images");
  ORVAPOConfigurationFile file(*machine);
  ASSERT_EQ(file.Load(endpoint.config_file(), 0, 0), kConfigLoaded);

  ORVAPOModeSelector selector(*machine);
  ASSERT_TRUE(selector.Init(endpoint.apo_key_path(), file.GetDefaultModeKey()));
  ORVAPOModeKey key;
  EXPECT_FALSE(selector.GetCurrentMode(key)) << "half a key is none";

  auto values = machine.PublicValues(L"Cut Images", file.GetModes()[0]->GetModeKey().GetModeName());
  EXPECT_EQ(values["VQ3D-DC Level"], "85");
  EXPECT_EQ(values["VQ3D-DPHD Level"], "65");
  EXPECT_EQ(values["VQ3D-GEQ Enable"], "Disabled") << "cut: as configured";
}

}  // namespace
}  // namespace orv
