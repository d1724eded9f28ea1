// The user's own copies of the sample machines: commands change these, the samples stay as they
// came. Without --machine and ORV_MACHINE the copy of the default sample is used.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orv::cli {

// The folder that --machine means: a folder, or a sample's name for the user's copy of it, which
// may have to be made yet. Usage failure with the nearest machine for a name that is neither.
std::filesystem::path NamedMachineFolder(const std::string& text);

// Makes the user's copy if the folder is that of one and does not exist yet. True if it was made.
bool MakeUserMachine(const std::filesystem::path& folder);
// The folder, or the sample itself if the folder is a copy that does not exist yet: for commands
// that only read.
std::filesystem::path ReadableMachineFolder(const std::filesystem::path& folder);

// Replaces the user's copy of the sample by a fresh one, and returns its folder. Throws Failure if
// there is no sample of this name.
std::filesystem::path ResetUserMachine(const std::string& sample);

struct KnownMachine {
  std::string name;
  std::filesystem::path folder;  // the user's copy; the sample's if there is none
  bool is_copy = false;
};
// The samples and the user's machines, in name order.
std::vector<KnownMachine> KnownMachines();

}  // namespace orv::cli
