// The platform's paths on the host of a simulated machine.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orv {

// Translates a path: "C:\..." is below `drive_c`, found without regard to letter case (the last
// elements need not exist; ".." does not lead out); "Z:\..." is the host's root folder; a path that
// begins with "/" is the host's own. Returns nullopt for any other drive, for relative paths, for
// text that is not valid UTF-16, and for C: if `drive_c` is empty.
std::optional<std::filesystem::path> HostFile(const std::filesystem::path& drive_c,
                                              const std::wstring& path);

}  // namespace orv
