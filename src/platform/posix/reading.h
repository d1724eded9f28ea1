// Opening files that may turn out not to be files.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "platform/posix/file_descriptor.h"

namespace orv {

// Opens a regular file and gives its status. Empty, with the error number in errno, if that fails;
// errno is 0 if there is something else under this name, such as a folder or a pipe.
inline FileDescriptor OpenForReading(const std::filesystem::path& file,
                                     struct stat& status) noexcept {
  // Non-blocking: a pipe must not keep the caller waiting for its other end.
  FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!opened || ::fstat(opened.get(), &status) != 0) return {};
  if (S_ISREG(status.st_mode)) return opened;
  errno = 0;
  return {};
}

}  // namespace orv
