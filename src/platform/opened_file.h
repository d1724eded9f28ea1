// The part of reading and writing files that differs between systems.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/files.h"
#ifdef _WIN32
#include "platform/windows/system_calls.h"
#else
#include "platform/posix/file_descriptor.h"
#endif

namespace orv {

// A regular file that is open for reading.
class OpenedFile {
 public:
#ifdef _WIN32
  using Native = Handle;
#else
  using Native = FileDescriptor;
#endif
  // Returns nullopt, with the reason, if the file cannot be opened or is something else under this
  // name, such as a folder or a pipe.
  static std::optional<OpenedFile> Open(const std::filesystem::path& file, std::string& reason);

  std::uintmax_t size() const noexcept { return size_; }
  // Returns the number of bytes read, 0 at the end of the file; nullopt, with the reason, if
  // reading fails.
  std::optional<std::size_t> Read(char* room, std::size_t size, std::string& reason) const;

 private:
  OpenedFile(Native native, std::uintmax_t size) : native_(std::move(native)), size_(size) {}

  Native native_;
  std::uintmax_t size_;
};

// A path beside `target` for its next content. No other writer uses it at the same time.
std::filesystem::path TemporaryPath(const std::filesystem::path& target, Writers writers);

}  // namespace orv
