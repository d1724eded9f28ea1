// Whole files, with failures that name them.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace orv::cli {

// A path as text for people and scripts, in UTF-8. The other way is PathFromUtf8.
std::string PathText(const std::filesystem::path& path);

// Paths are UTF-8. "-" is standard input. Throws Failure when it cannot be read or is larger than
// `limit` bytes.
std::string ReadWholeFile(const std::string& path, std::size_t limit);

// Writes the bytes beside the file and puts them in its place, so that a reader (or a full disk)
// never meets half of them. Devices and pipes are written to. Throws Failure when that cannot be
// done.
void ReplaceFile(const std::string& path, const std::string& bytes);

}  // namespace orv::cli
