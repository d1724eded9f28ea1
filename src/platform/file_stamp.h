// Whether a file is still the one that was read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace orv {

// The file's first bytes, size and time. Files whose writers count a number in their first lines up
// are told apart even when two changes fall within one tick of the file system's clock.
struct FileStamp {
  static constexpr std::size_t kHeadSize = 192;  // bytes

  std::string head;
  std::uintmax_t size = 0;
  std::filesystem::file_time_type time;
  bool operator==(const FileStamp&) const = default;

  // A folder, a pipe or a file that cannot be read has a stamp too. Does not wait; throws nothing
  // but std::bad_alloc.
  static FileStamp Of(const std::filesystem::path& file);
};

}  // namespace orv
