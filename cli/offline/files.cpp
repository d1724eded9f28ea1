#include "cli/offline/files.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <type_traits>

#include "cli/show/failure.h"
#include "platform/files.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

// A path's own text: bytes on one system, UTF-16 on the other.
template <class Native>
std::string Utf8(const Native& native) {
  if constexpr (std::is_same_v<Native, std::string>) {
    return native;
  } else {
    return Utf8FromWide(native);
  }
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.flush();
  if (!file) throw Failure(kRefused, "{} cannot be written.", PathText(path));
}

}  // namespace

std::string PathText(const std::filesystem::path& path) { return Utf8(path.native()); }

std::string ReadWholeFile(const std::string& path, std::size_t limit,
                          std::istream* standard_input) {
  std::ifstream file;
  if (path != "-") {
    const std::filesystem::path name = PathFromUtf8(path);
    std::error_code ignored;
    if (!std::filesystem::is_directory(name, ignored)) file.open(name, std::ios::binary);
    if (!file.is_open()) throw Failure(kRefused, "{} cannot be opened for reading.", path);
  }
  std::istream& typed = standard_input != nullptr ? *standard_input : std::cin;
  std::istream& input = path == "-" ? typed : file;
  std::string bytes;
  char block[16384];
  while (input.read(block, sizeof block) || input.gcount() > 0) {
    bytes.append(block, static_cast<std::size_t>(input.gcount()));
    if (bytes.size() > limit) throw Failure(kRefused, "{} is larger than {} bytes.", path, limit);
  }
  if (input.bad()) throw Failure(kRefused, "{} cannot be read to its end.", path);
  return bytes;
}

void ReplaceFile(const std::string& path, const std::string& bytes) {
  const std::filesystem::path name = PathFromUtf8(path);
  std::error_code ignored;
  if (std::filesystem::exists(name, ignored) && !std::filesystem::is_regular_file(name, ignored))
    return WriteFile(name, bytes);
  std::string reason;
  if (!ReplaceFileContent(name, bytes, reason))
    throw Failure(kRefused, "{} cannot be written: {}.", path, reason);
}

}  // namespace orv::cli
