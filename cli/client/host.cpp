#include "cli/client/host.h"

#include "cli/offline/files.h"
#include "cli/show/failure.h"

namespace orv::cli {

std::filesystem::path SampleMachinesFolder() {
  // Relative to the program's folder: as built, as installed.
  const std::filesystem::path program = ProgramFolder();
  for (const char* relative : {"../samples/machines", "../share/orv_apo/machines"}) {
    std::filesystem::path folder = (program / relative).lexically_normal();
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) return folder;
  }
  throw Failure(kRefused, "the sample machines are not beside this program (" +
                              PathText((program / "../samples/machines").lexically_normal()) +
                              ").\nName a machine's folder with --machine.");
}

}  // namespace orv::cli
