// What the sample machines hold. Their endpoints are listed in the transcripts of orvctl.
#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "config/configuration_file.h"
#include "config/technology_library.h"
#include "platform/host_path.h"
#include "platform/text.h"
#include "simulated/simulated_machine.h"

namespace orv {
namespace {

using ::testing::AllOf;
using ::testing::Ge;
using ::testing::Le;

// Of the library that the build made.
std::wstring TechnologyFolder() { return DriveZPath(ORV_TECHNOLOGY_FOLDER "/"); }

// Every configuration file of a machine, with the plain modes and those for the DSP.
class Configurations : public ::testing::TestWithParam<const char*> {
 protected:
  // Paths on the machine.
  std::vector<std::wstring> Files() const {
    std::vector<std::wstring> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(drive_)) {
      if (entry.path().extension() != ".xml") continue;
      std::string path = std::filesystem::relative(entry.path(), drive_).generic_string();
      std::replace(path.begin(), path.end(), '/', '\\');
      paths.push_back(L"C:\\" + WideFromUtf8(path));
    }
    return paths;
  }
  // Calls visit(mode) for every mode; each file has modes of one type or the other.
  template <class Visit>
  void ForEachMode(Visit visit) {
    for (const std::wstring& path : Files()) {
      std::size_t modes = 0;
      for (const std::uint32_t type : {0U, 1U}) {
        ORVAPOConfigurationFile file(*machine_);
        EXPECT_EQ(file.Load(path, type, 0), LoadStatus::Loaded) << Utf8FromWide(path);
        modes += file.GetModes().size();
        for (const auto& mode : file.GetModes()) {
          SCOPED_TRACE(Utf8FromWide(path) + ", " + Utf8FromWide(mode->GetModeKey().GetModeName()));
          visit(*mode);
        }
      }
      EXPECT_GT(modes, 0U) << Utf8FromWide(path);
    }
  }

  const std::filesystem::path drive_ =
      std::filesystem::path(ORV_SAMPLE_MACHINES) / GetParam() / "drive_c";
  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory({}, drive_);
  ORVAPOProcessInfo technology_{*machine_, TechnologyFolder().c_str()};
};

TEST_P(Configurations, DescribeEveryControlAndKeepItInRange) {
  ForEachMode([this](const ORVAPOOperatingMode& mode) {
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
  for (const std::wstring& path : Files()) {
    ORVAPOConfigurationFile file(*machine_);
    ASSERT_EQ(file.Load(path, 1, 3), LoadStatus::Loaded);
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

TEST(TechnologyLibrary, DescribesEveryControlOnceWithARangeThatFitsItsScale) {
  const auto machine = SimulatedMachine::InMemory();
  const ORVAPOProcessInfo technology(*machine, TechnologyFolder().c_str());
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
