#include "cli/host.h"

#include <cstdlib>

#include "cli/failure.h"
#include "platform/simulated/simulated_machine.h"

namespace orv::cli {
namespace {

constexpr char kMachineVariable[] = "ORV_MACHINE";
// Relative to the program's folder.
constexpr char kBuiltSamples[] = "../samples/machines";
constexpr char kInstalledSamples[] = "../share/orv_apo/machines";
constexpr char kDefaultSample[] = "skylake-laptop";

std::filesystem::path DefaultMachineFolder() {
  if (const char* named = std::getenv(kMachineVariable); named != nullptr && *named != 0)
    return named;
  return SampleMachinesFolder() / kDefaultSample;
}

}  // namespace

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path SampleMachinesFolder() {
  const std::filesystem::path program = ProgramFolder();
  for (const char* relative : {kBuiltSamples, kInstalledSamples}) {
    std::filesystem::path folder = (program / relative).lexically_normal();
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) return folder;
  }
  throw Failure(kRefused, "the sample machines are not beside this program (" +
                              (program / kBuiltSamples).lexically_normal().string() +
                              ").\nName a machine's folder with --machine.");
}

std::unique_ptr<Machine> OpenMachine(std::filesystem::path& folder) {
  if (folder.empty()) folder = DefaultMachineFolder();
  FileError error;
  std::unique_ptr<SimulatedMachine> machine = SimulatedMachine::Open(folder, error);
  if (machine == nullptr) {
    throw Failure(kRefused, "the machine in " + folder.string() + " is refused.\n" + error.Text() +
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
