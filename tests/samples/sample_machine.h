// A sample machine in a folder of its own, laid out as the build lays it out.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "api/headset_detection.h"
#include "config/configuration_file.h"
#include "endpoints/endpoint_registry.h"
#include "endpoints/endpoint_tools.h"
#include "platform/simulated/simulated_machine.h"
#include "platform/text.h"

namespace orv {

inline constexpr wchar_t kTechnologyFolder[] = L"C:\\Windows\\System32\\";

inline std::filesystem::path SampleFolder(const std::string& name) {
  return std::filesystem::path(ORV_SAMPLE_MACHINES) / name;
}

class SampleMachine {
 public:
  explicit SampleMachine(const std::string& name)
      : folder_(std::filesystem::temp_directory_path() /
                ("orv-sample-" + name + "-" + std::to_string(std::random_device{}()))) {
    std::filesystem::copy(SampleFolder(name), folder_, std::filesystem::copy_options::recursive);
    const auto system_folder = folder_ / "drive_c" / "Windows" / "System32";
    std::filesystem::create_directories(system_folder);
    std::filesystem::copy_file(ORV_TECHNOLOGY_LIBRARY, system_folder / "kxtech64.dll");
    FileError error;
    machine_ = SimulatedMachine::Open(folder_, error);
    EXPECT_NE(machine_, nullptr) << error.Text();
  }
  ~SampleMachine() {
    machine_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  SampleMachine(const SampleMachine&) = delete;
  SampleMachine& operator=(const SampleMachine&) = delete;

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

  // Bytes of a value in the endpoint's key for the processing object; nothing unless of this type.
  std::vector<std::uint8_t> StoredValue(const ORVAPOEndpointInfo& endpoint,
                                        const std::wstring& name, std::uint32_t wanted_type) {
    std::unique_ptr<RegistryKey> key;
    std::uint32_t type = kRegNone;
    std::vector<std::uint8_t> bytes;
    if (machine_->registry().OpenKey(RegRoot::LocalMachine, endpoint.apo_key_path(), kQueryAccess,
                                     key) != kRegOk ||
        ReadValue(*key, name, type, bytes) != kRegOk || type != wanted_type)
      return {};
    return bytes;
  }

  // Paths on the machine of every configuration file.
  std::vector<std::wstring> ConfigurationFiles() const {
    std::vector<std::wstring> paths;
    const auto drive = folder_ / "drive_c";
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
  std::filesystem::path folder_;
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
