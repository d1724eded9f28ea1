#include <gmock/gmock.h>
#include <tinyxml2.h>

#include <fstream>
#include <set>

#include "config/mode_selector.h"
#include "endpoints/settings.h"
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

  ORVAPOPublicSettings settings(*machine);
  ASSERT_TRUE(settings.Init(endpoint, *file.GetModes().front()));
  ORVQVTValueList values;
  ASSERT_TRUE(settings.ReadControls(values, true));
  EXPECT_EQ(values.Find("VQ3D-DC Level")->ToString(), "85");
  EXPECT_EQ(values.Find("VQ3D-DPHD Level")->ToString(), "65");
  EXPECT_EQ(values.Find("VQ3D-GEQ Enable")->ToString(), "Disabled") << "cut: as configured";
}

TEST(BrokenMachine, MissingLibraryPathIsWrittenAnew) {
  SampleMachine machine("broken");
  const ORVAPOEndpointInfo endpoint = machine.Endpoint(L"Effects Off");
  const auto bytes = machine.StoredValue(endpoint, kTechnologyPathValue, kRegSz);
  EXPECT_EQ(RegistryText(bytes.data(), bytes.size()), L"C:\\Windows\\System32\\kxtech64.dll");
}

// Lines (from 1) of a file that hold the text.
std::vector<int> LinesWith(const std::filesystem::path& path, const std::string& text) {
  std::vector<int> lines;
  std::ifstream file(path);
  std::string line;
  for (int number = 1; std::getline(file, line); ++number)
    if (line.find(text) != std::string::npos) lines.push_back(number);
  return lines;
}

TEST(BrokenMachine, EveryEntryPassedOverInTheMessyFileIsRemarkedOn) {
  const auto path =
      SampleFolder("broken") / "drive_c" / "ProgramData" / "ORV Labs" / "APO" / "messy.xml";
  tinyxml2::XMLDocument document;
  ASSERT_EQ(document.LoadFile(path.string().c_str()), tinyxml2::XML_SUCCESS);
  std::set<int> remarked;
  const auto observer = [&](const ConfigurationRemark& remark) { remarked.insert(remark.line); };
  for (std::uint32_t location = 0; location < 2; ++location) {
    ConfigurationContent content;
    EXPECT_EQ(ReadConfiguration(document, 0, location, content, observer), kConfigBadMode);
    EXPECT_EQ(content.modes.size(), 2U);
  }
  for (const char* entry :
       {"Nobody asks", "Nor for this", "\"Codec\"", "<setting", "<notes",
        "DPHD Level\" public=\"true\">61", "<control public", "Definition Level", "<colour",
        "Stereo\"/>", "<process instance_id", "tech_id=\"\"", "Quadraphonic", "<chain_v2 input",
        "\"LFX\"", "\"sfx\"", "\"gpu\""}) {
    const std::vector<int> lines = LinesWith(path, entry);
    ASSERT_FALSE(lines.empty()) << entry;
    for (const int line : lines) EXPECT_TRUE(remarked.contains(line)) << entry << ": " << line;
  }
}

}  // namespace
}  // namespace orv
