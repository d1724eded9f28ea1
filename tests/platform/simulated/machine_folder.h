// A simulated machine's folder for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "platform/simulated/simulated_machine.h"
#include "support/temporary_folder.h"

namespace orv {

class MachineFolder {
 public:
  explicit MachineFolder(std::string_view registry = "Windows Registry Editor Version 5.00\r\n",
                         std::string_view description = "{}") {
    Write("registry.reg", registry);
    Write("machine.json", description);
  }

  const std::filesystem::path& path() const noexcept { return folder_.path(); }
  void Write(const std::string& file, std::string_view content) const {
    std::ofstream(path() / file, std::ios::binary) << content;
  }
  std::string Read(const std::string& file) const {
    std::ifstream stream(path() / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  std::unique_ptr<SimulatedMachine> Open() const {
    FileError error;
    auto machine = SimulatedMachine::Open(path(), error);
    EXPECT_NE(machine, nullptr) << error.Text();
    return machine;
  }
  // The reason why the machine cannot be opened.
  FileError Refusal() const {
    FileError error;
    EXPECT_EQ(SimulatedMachine::Open(path(), error), nullptr);
    return error;
  }

 private:
  TemporaryFolder folder_;
};

// Opens a key below HKEY_LOCAL_MACHINE with every right, creating it when missing.
inline std::unique_ptr<RegistryKey> MachineKey(Machine& machine, const std::wstring& path) {
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(machine.registry().CreateKey(RegRoot::LocalMachine, path,
                                         kKeyRead | kKeyWrite | kKeyWow64_64, key, nullptr),
            kRegOk);
  return key;
}

inline RegStatus SetBytes(RegistryKey& key, const std::wstring& name,
                          const std::vector<std::uint8_t>& bytes) {
  return key.SetValue(name, kRegBinary, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// A value's bytes; empty when it is missing.
inline std::vector<std::uint8_t> GetBytes(RegistryKey& key, const std::wstring& name) {
  std::uint32_t type = 0;
  std::vector<std::uint8_t> bytes;
  return ReadValue(key, name, type, bytes) == kRegOk ? bytes : std::vector<std::uint8_t>();
}

}  // namespace orv
