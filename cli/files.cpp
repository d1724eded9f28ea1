#include "cli/files.h"

#include <filesystem>
#include <fstream>
#include <iostream>

#include "cli/failure.h"

namespace orv::cli {
namespace {

void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.flush();
  if (!file) throw Failure(kRefused, path + " cannot be written.");
}

}  // namespace

std::string ReadWholeFile(const std::string& path, std::size_t limit) {
  std::ifstream file;
  if (path != "-") {
    std::error_code ignored;
    if (!std::filesystem::is_directory(path, ignored)) file.open(path, std::ios::binary);
    if (!file.is_open()) throw Failure(kRefused, path + " cannot be opened for reading.");
  }
  std::istream& input = path == "-" ? std::cin : file;
  std::string bytes;
  char block[16384];
  while (input.read(block, sizeof block) || input.gcount() > 0) {
    bytes.append(block, static_cast<std::size_t>(input.gcount()));
    if (bytes.size() > limit)
      throw Failure(kRefused, path + " is larger than " + std::to_string(limit) + " bytes.");
  }
  if (input.bad()) throw Failure(kRefused, path + " cannot be read to its end.");
  return bytes;
}

void ReplaceFile(const std::string& path, const std::string& bytes) {
  std::error_code error;
  // Devices and pipes are written to, not replaced.
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
    return WriteFile(path, bytes);
  const std::string beside = path + ".new";
  WriteFile(beside, bytes);
  std::filesystem::rename(beside, path, error);
  if (error) {
    std::error_code ignored;
    std::filesystem::remove(beside, ignored);
    throw Failure(kRefused, path + " cannot be replaced: " + error.message() + ".");
  }
}

}  // namespace orv::cli
