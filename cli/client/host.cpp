#include "cli/client/host.h"

#include "cli/offline/files.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "simulated/simulated_machine.h"

namespace orv::cli {

std::filesystem::path SampleMachinesFolder() {
  // Relative to the program's folder: as built, as installed.
  const std::filesystem::path program = ProgramFolder();
  for (const char* relative : {"../samples/machines", "../share/orv_apo/machines"}) {
    std::filesystem::path folder = (program / relative).lexically_normal();
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) return folder;
  }
  throw Failure(kRefused,
                "the sample machines are not beside this program ({}).\n"
                "Name a machine's folder with --machine.",
                PathText((program / "../samples/machines").lexically_normal()));
}

std::unique_ptr<Machine> OpenMachine(const std::filesystem::path& folder) {
  if (folder.empty()) return OpenSystemMachine();
  FileError error;
  std::unique_ptr<Machine> machine = SimulatedMachine::Open(folder, error);
  if (machine != nullptr) return machine;
  const std::string path = PathText(folder);
  std::error_code ignored;
  if (!std::filesystem::exists(folder, ignored)) {
    throw Failure(kRefused,
                  "there is no machine in {}.{}\nTo make one there: orvctl machine new {}", path,
                  Suggestion(MachineNames(folder.parent_path()), PathText(folder.filename())),
                  ShellWord(path));
  }
  const bool is_users = folder.parent_path() == UserMachinesFolder();
  throw Failure(kRefused,
                "the machine in {} is refused.\n{}\nFix that file, or {}: orvctl machine {}", path,
                error.Text(),
                is_users ? "make it as new, without the changes made on it"
                         : "make another machine beside it",
                is_users ? "reset " + ShellWord(PathText(folder.filename()))
                         : "new " + ShellWord(path + "-new"));
}

}  // namespace orv::cli
