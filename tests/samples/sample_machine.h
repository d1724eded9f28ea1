// A sample machine in a folder of its own, laid out as the build lays it out.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "api/headset_detection.h"
#include "config/configuration_file.h"
#include "endpoints/endpoint_tools.h"
#include "endpoints/settings.h"
#include "platform/simulated/simulated_machine.h"
#include "platform/text.h"
#include "support/temporary_folder.h"

namespace orv {

inline constexpr wchar_t kTechnologyFolder[] = L"C:\\Windows\\System32\\";

inline std::filesystem::path SampleFolder(const std::string& name) {
  return std::filesystem::path(ORV_SAMPLE_MACHINES) / name;
}

class SampleMachine {
 public:
  explicit SampleMachine(const std::string& name) {
    std::filesystem::copy(SampleFolder(name), folder_.path(),
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
  ORVAPOEndpointInfo Endpoint(const std::wstring& description) {
    for (ORVAPOEndpointInfo& endpoint : Endpoints())
      if (endpoint.description() == description) return endpoint;
    ADD_FAILURE() << "no endpoint " << Utf8FromWide(description);
    return ORVAPOEndpointInfo(*machine_);
  }

  // The public values of one of an endpoint's modes as its settings give them.
  std::map<std::string, std::string> PublicValues(const std::wstring& description,
                                                  const std::wstring& mode_name) {
    const ORVAPOEndpointInfo endpoint = Endpoint(description);
    ORVAPOConfigurationFile file(*machine_);
    EXPECT_EQ(file.Load(endpoint.config_file(), 0, 0), kConfigLoaded);
    std::map<std::string, std::string> values;
    for (const auto& mode : file.GetModes()) {
      if (mode->GetModeKey().GetModeName() != mode_name) continue;
      ORVAPOPublicSettings settings(*machine_);
      EXPECT_TRUE(settings.Init(endpoint, *mode));
      ORVQVTValueList list;
      EXPECT_TRUE(settings.ReadControls(list, true));
      for (const auto& [name, value] : list) values[name] = value.ToString();
      EXPECT_EQ(values.size(), mode->GetPublicControls().Count());
    }
    return values;
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

// "connected", "absent" or "unknown"
inline std::string Headset(const ORVAPOEndpointInfo& endpoint) {
  for (HeadsetDetection& detection : MakeHeadsetDetectors()) {
    LONG connected = -1;
    if (detection.check(endpoint, connected, detection))
      return connected != 0 ? "connected" : "absent";
  }
  return "unknown";
}

}  // namespace orv
