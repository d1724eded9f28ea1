#include "platform/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <boost/core/noncopyable.hpp>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/opened_file.h"

namespace orv {
namespace {

std::string Reason(int error) { return std::generic_category().message(error); }

// The file's identity and its latest change. The time of the latter moves with every write, also if
// the time of modification is set back.
std::string StateOf(const struct stat& file) {
  const std::uint64_t parts[] = {file.st_dev, file.st_ino, static_cast<std::uint64_t>(file.st_size),
                                 static_cast<std::uint64_t>(file.st_ctim.tv_sec),
                                 static_cast<std::uint64_t>(file.st_ctim.tv_nsec)};
  return {reinterpret_cast<const char*>(parts), sizeof parts};
}

// A file that is deleted with this object unless it has replaced its target.
class TemporaryFile : boost::noncopyable {
 public:
  TemporaryFile(const std::filesystem::path& target, Writers writers)
      : path_(TemporaryPath(target, writers)) {
    ::unlink(path_.c_str());  // left by a writer that was killed
    file_ = FileDescriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  }
  ~TemporaryFile() {
    if (file_) ::unlink(path_.c_str());
  }

  // Each step returns the error number, 0 for success.
  int Fill(std::string_view content, const std::filesystem::path& model) noexcept {
    if (!file_) return errno;
    struct stat old {};
    if (::stat(model.c_str(), &old) == 0 && ::fchmod(file_.get(), old.st_mode & 07777) != 0)
      return errno;
    while (!content.empty()) {
      const ssize_t written = ::write(file_.get(), content.data(), content.size());
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) return errno;
      content.remove_prefix(static_cast<std::size_t>(written));
    }
    // Not flushed to the disk: no program sees a partial file, and only a power cut could lose one.
    return 0;
  }
  int PutInPlaceOf(const std::filesystem::path& target) noexcept {
    if (::rename(path_.c_str(), target.c_str()) != 0) return errno;
    file_ = FileDescriptor();
    return 0;
  }

 private:
  std::filesystem::path path_;
  FileDescriptor file_;
};

}  // namespace

std::optional<FileLock> FileLock::Acquire(const std::filesystem::path& file, std::string& reason) {
  // Opened for reading, because closing a file opened for writing is a change for a FolderWatch.
  // The lock belongs to this opening, so it also excludes other threads of this process.
  // Non-blocking: opening a pipe must not wait for its other end.
  FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666));
  int result = opened ? 0 : -1;
  if (opened) {
    do {
      result = ::flock(opened.get(), LOCK_EX);
    } while (result != 0 && errno == EINTR);
  }
  if (result != 0) {
    reason = Reason(errno);
    return std::nullopt;
  }
  return FileLock(std::make_shared<FileDescriptor>(std::move(opened)));
}

FileStamp::FileStamp(const std::filesystem::path& file) {
  const auto opened = std::make_shared<FileDescriptor>(::open(file.c_str(), O_PATH | O_CLOEXEC));
  struct stat status {};
  if (!*opened || ::fstat(opened->get(), &status) != 0) return;
  held_ = opened;
  state_ = StateOf(status);
}

bool FileStamp::Matches(const std::filesystem::path& file) const {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) return state_.empty();
  return StateOf(status) == state_;
}

std::filesystem::path LinkTarget(const std::filesystem::path& file) {
  std::error_code error;
  std::filesystem::path target = std::filesystem::canonical(file, error);
  if (!error) return target;
  target = file.parent_path() / std::filesystem::read_symlink(file, error);
  if (error) return file;
  const std::filesystem::path folder = std::filesystem::canonical(target.parent_path(), error);
  return error ? file : folder / target.filename();
}

bool ReplaceFileContent(const std::filesystem::path& file, std::string_view content,
                        std::string& reason, Writers writers) {
  const std::filesystem::path target = LinkTarget(file);
  errno = 0;
  TemporaryFile written(target, writers);
  int error = written.Fill(content, target);
  if (error == 0) error = written.PutInPlaceOf(target);
  if (error == 0) return true;
  reason = Reason(error);
  return false;
}

std::optional<OpenedFile> OpenedFile::Open(const std::filesystem::path& file, std::string& reason) {
  // Non-blocking: a pipe must not keep the caller waiting for its other end.
  FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!opened || ::fstat(opened.get(), &status) != 0) {
    reason = Reason(errno);
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode)) {
    reason = "Not a regular file";
    return std::nullopt;
  }
  return OpenedFile(std::move(opened), static_cast<std::uintmax_t>(status.st_size));
}

std::optional<std::size_t> OpenedFile::Read(char* room, std::size_t size,
                                            std::string& reason) const {
  for (;;) {
    const ssize_t read = ::read(native_.get(), room, size);
    if (read >= 0) return static_cast<std::size_t>(read);
    if (errno == EINTR) continue;
    reason = Reason(errno);
    return std::nullopt;
  }
}

std::optional<std::string> CRuntimePath(const std::filesystem::path& path) { return path.native(); }

}  // namespace orv
