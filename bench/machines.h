// Machines for the benchmarks, and the component on them.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "bench/configuration_folder.h"
#include "platform/diagnostics.h"
#include "simulated/simulated_machine.h"

namespace orv {

// A sample machine, in memory.
inline std::shared_ptr<SimulatedMachine> SampleMachine(const std::filesystem::path& folder) {
  FileError error;
  auto description = ReadMachineFile(folder / "machine.json", error);
  std::ifstream file(folder / "registry.reg", std::ios::binary);
  return SimulatedMachine::InMemory(description.value_or(MachineDescription()), folder / "drive_c",
                                    std::string(std::istreambuf_iterator<char>(file), {}));
}

// Discards diagnostic lines.
struct NoDiagnostics {
  DiagnosticCapture capture{[](std::wstring_view) {}};
};

}  // namespace orv
