#include "cli/client/user_machines.h"

#include <algorithm>

#include "cli/client/host.h"
#include "cli/offline/files.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/files.h"

namespace orv::cli {

namespace fs = std::filesystem;

namespace {

bool Exists(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

// The sample that the folder is to be a copy of; empty if it is not one of the user's machines.
fs::path SampleOf(const fs::path& folder) {
  const fs::path machines = UserMachinesFolder();
  if (machines.empty() || folder.parent_path() != machines) return {};
  const fs::path sample = SampleMachinesFolder() / folder.filename();
  return Exists(sample / "machine.json") ? sample : fs::path();
}

// Another process may do the same: a whole copy is put in place in one step.
void PutCopy(const fs::path& sample, const fs::path& folder) {
  fs::create_directories(folder.parent_path());
  const TemporaryMachine copy(sample, folder.parent_path());
  std::error_code error;
  fs::rename(copy.folder(), folder, error);
  if (error && !Exists(folder / "machine.json"))
    throw Failure(kRefused, "making {}: {}.", PathText(folder), error.message());
}

}  // namespace

fs::path NamedMachineFolder(const std::string& text) {
  const fs::path folder = PathFromUtf8(text);
  if (folder.has_parent_path() || Exists(folder)) return folder;
  const fs::path machines = UserMachinesFolder();
  if (machines.empty()) return folder;
  const fs::path copy = machines / folder;
  if (Exists(copy) || !SampleOf(copy).empty()) return copy;
  std::vector<std::string> names;
  for (const KnownMachine& known : KnownMachines()) names.push_back(known.name);
  UsageFailure("no machine named \"{}\".{}{}\nTo make it: orvctl machine new {}", text,
               Suggestion(names, text), KnownNames(names), ShellWord(text));
}

bool MakeUserMachine(const fs::path& folder) {
  if (Exists(folder)) return false;
  const fs::path sample = SampleOf(folder);
  if (sample.empty()) return false;
  PutCopy(sample, folder);
  return true;
}

fs::path ReadableMachineFolder(const fs::path& folder) {
  if (Exists(folder)) return folder;
  const fs::path sample = SampleOf(folder);
  return sample.empty() ? folder : sample;
}

fs::path ResetUserMachine(const std::string& sample) {
  const fs::path machines = UserMachinesFolder();
  if (machines.empty())
    throw Failure(kRefused, "this system is its own machine; there are no copies of samples.");
  const std::vector<std::string> names = MachineNames(SampleMachinesFolder());
  if (std::ranges::find(names, sample) == names.end())
    UsageFailure("no sample machine named \"{}\".{}{}", sample, Suggestion(names, sample),
                 KnownNames(names));
  const fs::path folder = machines / PathFromUtf8(sample);
  std::error_code error;
  fs::remove_all(folder, error);
  if (error) throw Failure(kRefused, "removing {}: {}.", PathText(folder), error.message());
  PutCopy(SampleOf(folder), folder);
  return folder;
}

std::vector<KnownMachine> KnownMachines() {
  std::vector<KnownMachine> known;
  const auto add = [&](const fs::path& machines, bool is_copy) {
    if (machines.empty() || !Exists(machines)) return;
    for (const std::string& name : MachineNames(machines))
      if (std::ranges::find(known, name, &KnownMachine::name) == known.end())
        known.push_back({name, machines / PathFromUtf8(name), is_copy});
  };
  add(UserMachinesFolder(), true);
  add(SampleMachinesFolder(), false);
  std::ranges::sort(known, {}, &KnownMachine::name);
  return known;
}

}  // namespace orv::cli
