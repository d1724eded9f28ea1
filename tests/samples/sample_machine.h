// A sample machine in a folder of its own, laid out as the build lays it out.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "config/configuration_file.h"
#include "endpoints/endpoint_tools.h"
#include "platform/simulated/simulated_machine.h"
#include "platform/text.h"
#include "support/temporary_folder.h"

namespace orv {

inline constexpr wchar_t kTechnologyFolder[] = L"C:\\Windows\\System32\\";

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

}  // namespace orv
