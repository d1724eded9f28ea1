#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "config/configuration_file.h"
#include "config/mode_selector.h"
#include "config/technology_library.h"
#include "endpoints/endpoint_tools.h"
#include "platform/simulated/simulated_machine.h"
#include "platform/text.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Le;
using ::testing::Pair;

constexpr wchar_t kTechnologyFolder[] = L"C:\\Windows\\System32\\";

// A sample machine in a folder of its own, laid out as the build lays it out.
class SampleMachine {
 public:
  explicit SampleMachine(const std::string& name) {
    std::filesystem::copy(std::filesystem::path(ORV_SAMPLE_MACHINES) / name, folder_.path(),
                          std::filesystem::copy_options::recursive);
    const auto system_folder = folder_.path() / "drive_c" / "Windows" / "System32";
    std::filesystem::create_directories(system_folder);
    std::filesystem::copy_file(ORV_TECHNOLOGY_LIBRARY, system_folder / "kxtech64.dll");
    FileError error;
    machine_ = SimulatedMachine::Open(folder_.path(), error);
    EXPECT_NE(machine_, nullptr) << error.Text();
  }

  SimulatedMachine& operator*() { return *machine_; }

  std::vector<ORVAPOEndpointInfo> Endpoints() {
    std::vector<ORVAPOEndpointInfo> endpoints;
    ORVAPOEndpointTools(*machine_).EnumerateEndpoints(endpoints);
    return endpoints;
  }

  // Paths on the machine of every configuration file.
  std::vector<std::wstring> ConfigurationFiles() const {
    std::vector<std::wstring> paths;
    const auto drive = folder_.path() / "drive_c";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(drive)) {
      if (entry.path().extension() != ".xml") continue;
      std::string path = std::filesystem::relative(entry.path(), drive).generic_string();
      for (char& letter : path)
        if (letter == '/') letter = '\\';
      paths.push_back(L"C:\\" + WideFromUtf8(path));
    }
    return paths;
  }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<SimulatedMachine> machine_;
};

// The endpoints of a machine with their products and current modes.
std::vector<std::wstring> Seen(const std::string& name) {
  SampleMachine machine(name);
  std::vector<std::wstring> seen;
  for (const ORVAPOEndpointInfo& endpoint : machine.Endpoints()) {
    EXPECT_FALSE(endpoint.system_effects_disabled());
    EXPECT_NE(endpoint.stream_effect().guid, GUID_NULL);
    ORVAPOConfigurationFile file(*machine);
    EXPECT_EQ(file.Load(endpoint.config_file(), 0, 0), kConfigLoaded);
    ORVAPOModeSelector selector(*machine);
    EXPECT_TRUE(selector.Init(endpoint.apo_key_path(), file.GetDefaultModeKey()));
    ORVAPOModeKey key;
    selector.GetCurrentMode(key);
    ORVAPOOperatingMode mode;
    EXPECT_TRUE(file.FindMode(key, mode)) << Utf8FromWide(key.GetModeName());
    seen.push_back(endpoint.description() + L": " + file.GetProductName() + L", " +
                   key.GetModeName());
  }
  return seen;
}

TEST(HealthyMachines, ListTheirEndpoints) {
  const wchar_t kDisplay[] = L"Display over HDMI: ORV Sound for Displays, ApoOpMode:Movie/HDMI";
  EXPECT_THAT(
      Seen("skylake-laptop"),
      ElementsAre(L"Internal Speakers: ORV Sound for Laptops, ApoOpMode:Movie/Internal",
                  L"Headphones: ORV Sound for Laptops, ApoOpMode:Music/Internal", kDisplay));
  EXPECT_THAT(
      Seen("broadwell-ultrabook"),
      ElementsAre(L"Internal Speakers: ORV Sound for Ultrabooks, ApoOpMode:Voice/Internal",
                  L"Headphones: ORV Sound for Ultrabooks, ApoOpMode:Movie/Internal", kDisplay));
  EXPECT_THAT(
      Seen("qualcomm-tablet"),
      ElementsAre(L"Internal Speakers: ORV Sound for Tablets, ApoOpMode:Music/Internal",
                  L"Headphones: ORV Sound for Tablets, ApoOpMode:Music/Internal", kDisplay));
}

// Every configuration file of a machine, with the plain modes and those for the DSP.
class Configurations : public ::testing::TestWithParam<const char*> {
 protected:
  Configurations() : machine_(GetParam()), technology_(*machine_, kTechnologyFolder) {}

  // Calls visit(mode) for every mode; each file has modes of one type or the other.
  template <class Visit>
  void ForEachMode(std::uint32_t location, Visit visit) {
    for (const std::wstring& path : machine_.ConfigurationFiles()) {
      std::size_t modes = 0;
      for (const std::uint32_t type : {0U, 1U}) {
        ORVAPOConfigurationFile file(*machine_);
        EXPECT_EQ(file.Load(path, type, location), kConfigLoaded) << Utf8FromWide(path);
        modes += file.GetModes().size();
        for (const auto& mode : file.GetModes()) {
          SCOPED_TRACE(Utf8FromWide(path) + ", " + Utf8FromWide(mode->GetModeKey().GetModeName()));
          visit(*mode);
        }
      }
      EXPECT_GT(modes, 0U) << Utf8FromWide(path);
    }
  }

  SampleMachine machine_;
  ORVAPOProcessInfo technology_;
};

TEST_P(Configurations, DescribeEveryControlAndKeepItInRange) {
  ForEachMode(0, [this](const ORVAPOOperatingMode& mode) {
    for (const auto& [name, value] : mode.GetDefaultControls()) {
      SCOPED_TRACE(name + " = " + value.ToString());
      ORVQVTControlInfo info;
      ASSERT_TRUE(technology_.FindControlInfo(value, info));
      EXPECT_EQ(info.name(), value.GetBaseName()) << "drivers look for the exact spelling";
      if (info.names().Count() > 0) {
        EXPECT_TRUE(info.names().Contains(value.ToString()));
      } else if (info.scale() != ORV_QVT_SCALE_STRING) {
        EXPECT_THAT(value.ToLong(), AllOf(Ge(info.minimum()), Le(info.maximum())));
        EXPECT_EQ(std::to_string(value.ToLong()), value.ToString());
      } else {
        EXPECT_EQ(mode.GetPublicControls().Find(name), nullptr)
            << "a client hands numbers on, and this text has none";
      }
    }
  });
}

TEST_P(Configurations, CarryOneDspModeForTheirDefault) {
  std::size_t for_the_dsp = 0;
  for (const std::wstring& path : machine_.ConfigurationFiles()) {
    ORVAPOConfigurationFile file(*machine_);
    ASSERT_EQ(file.Load(path, 1, 3), kConfigLoaded);
    if (file.GetModes().empty()) continue;
    ORVAPOOperatingMode mode;
    EXPECT_TRUE(file.FindMode(file.GetDefaultModeKey(), mode)) << Utf8FromWide(path);
    ++for_the_dsp;
  }
  EXPECT_GT(for_the_dsp, 0U);
}

INSTANTIATE_TEST_SUITE_P(HealthyMachines, Configurations,
                         ::testing::Values("skylake-laptop", "broadwell-ultrabook",
                                           "qualcomm-tablet"),
                         [](const auto& instance) {
                           std::string name = instance.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

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

TEST(TechnologyLibrary, DescribesEveryControlOnceWithARangeThatFitsItsScale) {
  SampleMachine machine("skylake-laptop");
  const ORVAPOProcessInfo technology(*machine, kTechnologyFolder);
  std::set<std::wstring> names;
  std::size_t switches = 0;
  for (const ORVQVTControlInfo& info : technology.control_infos()) {
    SCOPED_TRACE(info.name());
    EXPECT_TRUE(names.insert(ToUpperAscii(Widen(info.name()))).second);
    EXPECT_LT(info.scale(), std::uint32_t{ORV_QVT_SCALE_COUNT});
    const bool has_choices = info.scale() == ORV_QVT_SCALE_ENUM;
    EXPECT_EQ(info.names().Count() > 1, has_choices);
    if (has_choices) {
      EXPECT_EQ(info.minimum(), 0);
      EXPECT_EQ(info.maximum() + 1, static_cast<std::int32_t>(info.names().Count()));
      EXPECT_EQ(std::set<std::string>(info.names().begin(), info.names().end()).size(),
                info.names().Count());
    } else if (info.scale() != ORV_QVT_SCALE_STRING) {
      EXPECT_LT(info.minimum(), info.maximum());
    }
    if (!info.names().Contains("Enabled")) continue;
    ++switches;
    for (std::int32_t number = 0; number <= info.maximum(); ++number) {
      const ORVQVTValue text(info.name(), boost::any(*ChoiceText(info.names(), number)));
      EXPECT_EQ(text.ToLong(), number) << "a switch's text is its number";
    }
  }
  // Both equalisers of twelve shaped bands alone have 240 controls.
  EXPECT_GT(names.size(), 400U);
  EXPECT_GT(switches, 100U);
}

}  // namespace
}  // namespace orv
