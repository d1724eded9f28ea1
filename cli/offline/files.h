// Reads and writes whole files; failures name the file.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>

namespace orv::cli {

// A path as text in UTF-8; PathFromUtf8 converts it back.
std::string PathText(const std::filesystem::path& path);

// Paths are UTF-8; "-" is the input, null: standard input. Throws Failure if the file cannot be
// read or is larger than `limit` bytes.
std::string ReadWholeFile(const std::string& path, std::size_t limit,
                          std::istream* standard_input = nullptr);

// Replaces the file in one step: a reader finds the old content or the new, never a part, also if
// the disk is full. Devices and pipes are written to. Throws Failure if the file cannot be written.
void ReplaceFile(const std::string& path, const std::string& bytes);

}  // namespace orv::cli
