#include "cli/offline/machine_folder.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>

#include "cli/offline/files.h"
#include "cli/show/failure.h"

namespace orv::cli {

namespace fs = std::filesystem;

std::vector<std::string> MachineNames(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(folder.empty() ? "." : folder, ignored))
    if (entry.is_directory() && fs::exists(entry.path() / "machine.json"))
      names.push_back(PathText(entry.path().filename()));
  std::ranges::sort(names);
  return names;
}

void CopyMachine(const fs::path& source, const fs::path& target) {
  std::error_code error;
  if (!fs::exists(source / "machine.json", error)) {
    throw Failure(kRefused, "{} is not a machine's folder: it has no machine.json.",
                  PathText(source));
  }
  if (fs::exists(target, error) &&
      !(fs::is_directory(target, error) && fs::is_empty(target, error))) {
    throw Failure(kRefused, "{} is not an empty folder; nothing was changed.", PathText(target));
  }
  fs::create_directories(target, error);
  // One entry at a time: the library's copy of a whole folder takes two folders for the same one if
  // the file system does not number its files.
  fs::directory_iterator entry;
  if (!error) entry = fs::directory_iterator(source, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    fs::copy(entry->path(), target / entry->path().filename(), fs::copy_options::recursive, error);
    if (error) break;
  }
  if (error) {
    throw Failure(kRefused, "copying {} to {}: {}.", PathText(source), PathText(target),
                  error.message());
  }
}

TemporaryMachine::TemporaryMachine(const fs::path& source, const fs::path& parent) {
  std::random_device entropy;
  folder_ = parent / fmt::format("orvctl-{}-{}", entropy(), entropy());
  CopyMachine(source, folder_);
}

TemporaryMachine::~TemporaryMachine() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

}  // namespace orv::cli
