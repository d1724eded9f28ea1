#include "cli/client/host.h"

#include <cstdlib>

#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "simulated/simulated_machine.h"

namespace orv::cli {
namespace {

constexpr char kMachineVariable[] = "ORV_MACHINE";

std::filesystem::path DefaultMachineFolder() {
  if (const char* named = std::getenv(kMachineVariable); named != nullptr && *named != 0)
    return named;
  return SampleMachinesFolder() / kDefaultSample;
}

}  // namespace

// Nothing is translated here.
struct StandardStreams::State {};
StandardStreams::StandardStreams() = default;
StandardStreams::~StandardStreams() = default;

std::vector<std::string> ProgramArguments(int argc, char** argv) { return {argv, argv + argc}; }

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::unique_ptr<Machine> OpenMachine(std::filesystem::path& folder) {
  if (folder.empty()) folder = DefaultMachineFolder();
  FileError error;
  std::unique_ptr<SimulatedMachine> machine = SimulatedMachine::Open(folder, error);
  if (machine == nullptr) {
    throw Failure(kRefused, "the machine in " + PathText(folder) + " is refused.\n" + error.Text() +
                                "\nMend that file, or make a fresh machine with \"orvctl machine "
                                "new DIR\".");
  }
  return machine;
}

void PrepareComponent(const std::filesystem::path& folder, bool diagnostics) {
  setenv(kMachineVariable, folder.c_str(), 1);
  if (diagnostics) setenv("ORV_DIAGNOSTICS", "stderr", 1);
}

bool OutputIsTerminal() {
  std::error_code error;
  const std::string target = std::filesystem::read_symlink("/proc/self/fd/1", error).string();
  return !error && (target.starts_with("/dev/pts/") || target.starts_with("/dev/tty"));
}

}  // namespace orv::cli
