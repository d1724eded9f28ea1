// A simulated machine's folder for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "simulated/simulated_machine.h"
#include "support/machine_registry.h"
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

}  // namespace orv
