#include "cli/offline/machine_folder.h"

#include <algorithm>
#include <random>

#include "cli/offline/files.h"
#include "cli/show/failure.h"

namespace orv::cli {

namespace fs = std::filesystem;

std::vector<std::string> MachineNames(const fs::path& folder) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.is_directory() && fs::exists(entry.path() / "machine.json"))
      names.push_back(PathText(entry.path().filename()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

namespace {

// Into a folder that is there already. The library's own copy takes two folders for one where
// files have no numbers to tell them apart, so that it is asked for one entry at a time.
void CopyContent(const fs::path& source, const fs::path& target, std::error_code& error) {
  for (fs::directory_iterator entry(source, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    fs::copy(entry->path(), target / entry->path().filename(), fs::copy_options::recursive, error);
    if (error) return;
  }
}

}  // namespace

void CopyMachine(const fs::path& source, const fs::path& target) {
  std::error_code error;
  if (!fs::exists(source / "machine.json", error))
    throw Failure(kRefused, PathText(source) + " is no machine's folder: it has no machine.json.");
  if (fs::exists(target, error) &&
      !(fs::is_directory(target, error) && fs::is_empty(target, error)))
    throw Failure(kRefused, PathText(target) + " is not an empty folder; nothing was changed.");
  fs::create_directories(target, error);
  if (!error) CopyContent(source, target, error);
  if (error) {
    throw Failure(kRefused, "copying " + PathText(source) + " to " + PathText(target) + ": " +
                                error.message() + ".");
  }
}

TemporaryMachine::TemporaryMachine(const fs::path& source) {
  std::random_device entropy;
  folder_ = fs::temp_directory_path() /
            ("orvctl-" + std::to_string(entropy()) + "-" + std::to_string(entropy()));
  CopyMachine(source, folder_);
}

TemporaryMachine::~TemporaryMachine() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

}  // namespace orv::cli
