#include <gmock/gmock.h>

#include <algorithm>
#include <map>

#include "config/mode_selector.h"
#include "config/technology_library.h"
#include "endpoints/settings.h"
#include "sample_machine.h"

namespace orv {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Le;

struct ExpectedEndpoint {
  std::wstring description;
  std::wstring config_file;
  std::wstring product_name;
  std::size_t modes;
  std::wstring current_mode;  // the stored one, else the default
  std::string headset;

  friend bool operator==(const ExpectedEndpoint&, const ExpectedEndpoint&) = default;
  friend void PrintTo(const ExpectedEndpoint& endpoint, std::ostream* out) {
    *out << Utf8FromWide(endpoint.description) << " | " << Utf8FromWide(endpoint.config_file)
         << " | " << Utf8FromWide(endpoint.product_name) << " | " << endpoint.modes << " | "
         << Utf8FromWide(endpoint.current_mode) << " | " << endpoint.headset;
  }
};

// What a control application sees of the machine's endpoints.
std::vector<ExpectedEndpoint> Seen(SampleMachine& machine) {
  std::vector<ExpectedEndpoint> seen;
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
    seen.push_back({endpoint.description(), endpoint.config_file(), file.GetProductName(),
                    file.GetModes().size(), key.GetModeName(), Headset(endpoint)});
  }
  return seen;
}

TEST(HealthyMachines, LaptopListsItsEndpoints) {
  SampleMachine machine("skylake-laptop");
  const std::wstring file = L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml";
  EXPECT_THAT(
      Seen(machine),
      ElementsAre(
          ExpectedEndpoint{L"Internal Speakers", file, L"ORV Sound for Laptops", 7,
                           L"ApoOpMode:Movie/Internal", "absent"},
          ExpectedEndpoint{L"Headphones", file, L"ORV Sound for Laptops", 7,
                           L"ApoOpMode:Music/Internal", "connected"},
          ExpectedEndpoint{L"Display over HDMI", L"C:\\ProgramData\\ORV Labs\\APO\\hdmi_config.xml",
                           L"ORV Sound for Displays", 2, L"ApoOpMode:Movie/HDMI", "unknown"}));
}

TEST(HealthyMachines, UltrabookListsItsEndpoints) {
  SampleMachine machine("broadwell-ultrabook");
  const std::wstring presets = L"C:\\ProgramData\\ORV Labs\\APO\\presets_0B5A2030_81.xml";
  EXPECT_THAT(
      Seen(machine),
      ElementsAre(ExpectedEndpoint{L"Internal Speakers", presets, L"ORV Sound for Ultrabooks", 6,
                                   L"ApoOpMode:Voice/Internal", "absent"},
                  ExpectedEndpoint{L"Headphones", presets, L"ORV Sound for Ultrabooks", 6,
                                   L"ApoOpMode:Movie/Internal", "connected"},
                  ExpectedEndpoint{
                      L"Display over HDMI", L"C:\\Program Files\\ORV Labs\\APO\\orv_apo_config.xml",
                      L"ORV Sound for Displays", 2, L"ApoOpMode:Movie/HDMI", "unknown"}));
}

TEST(HealthyMachines, TabletListsItsEndpoints) {
  SampleMachine machine("qualcomm-tablet");
  const std::wstring file = L"C:\\ProgramData\\ORV Labs\\APO\\kxconfig_WIN81.xml";
  EXPECT_THAT(Seen(machine),
              ElementsAre(ExpectedEndpoint{L"Internal Speakers", file, L"ORV Sound for Tablets", 6,
                                           L"ApoOpMode:Music/Internal", "connected"},
                          ExpectedEndpoint{L"Headphones", file, L"ORV Sound for Tablets", 6,
                                           L"ApoOpMode:Music/Internal", "connected"},
                          ExpectedEndpoint{L"Display over HDMI", L"C:\\OEM\\Sound\\display.xml",
                                           L"ORV Sound for Displays", 2, L"ApoOpMode:Movie/HDMI",
                                           "unknown"}));
}

// The public values of a mode as the settings of an endpoint give them.
std::map<std::string, std::string> PublicValues(SampleMachine& machine,
                                                const std::wstring& description,
                                                const wchar_t* mode_name) {
  const ORVAPOEndpointInfo endpoint = machine.Endpoint(description);
  ORVAPOConfigurationFile file(*machine);
  EXPECT_EQ(file.Load(endpoint.config_file(), 0, 0), kConfigLoaded);
  std::map<std::string, std::string> values;
  for (const auto& mode : file.GetModes()) {
    if (mode->GetModeKey().GetModeName() != mode_name) continue;
    ORVAPOPublicSettings settings(*machine);
    EXPECT_TRUE(settings.Init(endpoint, *mode));
    ORVQVTValueList list;
    EXPECT_TRUE(settings.ReadControls(list, true));
    for (const auto& [name, value] : list) values[name] = value.ToString();
    EXPECT_EQ(values.size(), mode->GetPublicControls().Count());
  }
  return values;
}

TEST(HealthyMachines, StoredSettingsOfAnEarlierConfigurationStillApply) {
  SampleMachine machine("skylake-laptop");
  auto values = PublicValues(machine, L"Internal Speakers", L"ApoOpMode:Movie/Internal");
  EXPECT_EQ(values["VQ3D-Main Tech"], "VQ3D-PX3D");
  EXPECT_EQ(values["VQ3D-GEQ 100Hz Gain"], "30");
  EXPECT_EQ(values["VQ3D-Hard Limiter Delay Length"], "120") << "not stored: as configured";
  EXPECT_FALSE(values.contains("VQ3D-Old Widening Level"));
}

TEST(HealthyMachines, StoredSettingsOfTheTabletHoldEveryPublicControl) {
  SampleMachine machine("qualcomm-tablet");
  const ORVAPOEndpointInfo endpoint = machine.Endpoint(L"Internal Speakers");
  auto values = PublicValues(machine, L"Internal Speakers", L"ApoOpMode:Music/Internal");
  EXPECT_EQ(values["QUMEDIA-WIDHDX ORV3D Mode"], "QUMEDIA-Single Speaker");

  const ImageBytes image = machine.StoredValue(endpoint, L"ApoOpMode:Music/Internal", kRegBinary);
  ORVPropertyList stored;
  EXPECT_TRUE(DecodeImage(image, ImageReading::Replace, stored).complete);
  EXPECT_EQ(stored.size(), values.size());
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

TEST_P(Configurations, RunOnlyProcessesThatTheLibraryHas) {
  for (std::uint32_t location = 0; location < 4; ++location) {
    ForEachMode(location, [&](const ORVAPOOperatingMode& mode) {
      for (const ORVAPOChain& chain : mode.GetChainDefinition().chains())
        for (const ORVAPOProcessReference& process : chain.processes)
          EXPECT_THAT(technology_.process_names(), Contains(process.technology));
    });
  }
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

}  // namespace
}  // namespace orv
