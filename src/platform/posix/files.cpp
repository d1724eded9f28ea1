#include "platform/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/posix/reading.h"

namespace orv {
namespace {

std::string Reason(int error) { return std::generic_category().message(error); }

// A file that vanishes with this object unless it was put in its place.
class TemporaryFile {
 public:
  // Beside `target`, under a name that no other writer uses at the same time.
  TemporaryFile(const std::filesystem::path& target, Writers writers) {
    static std::atomic<unsigned> last{0};
    const std::string suffix =
        writers == Writers::OneAtATime
            ? "new"
            : std::to_string(::getpid()) + "-" + std::to_string(last.fetch_add(1));
    path_ = target.parent_path() / ("." + target.filename().string() + "." + suffix);
    ::unlink(path_.c_str());  // left by a writer that was killed
    file_ = FileDescriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  }
  ~TemporaryFile() {
    if (file_) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Each step answers the error number, 0 for success.
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
    // Not flushed to the disk: no program ever sees half a file, and only a power cut could lose
    // one.
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
  // Opened for reading, because closing a file opened for writing counts as a change to whoever
  // watches the folder. The lock belongs to this opening, so it also keeps our own threads apart.
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
  return FileLock(opened.Release());
}

FileLock::FileLock(FileLock&& other) noexcept : native_(std::exchange(other.native_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  std::swap(native_, other.native_);
  return *this;
}

FileLock::~FileLock() {
  if (native_ >= 0) ::close(static_cast<int>(native_));
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

std::optional<std::string> ReadWholeFile(const std::filesystem::path& file, std::size_t limit,
                                         std::string& reason) {
  struct stat status {};
  const FileDescriptor opened = OpenForReading(file, status);
  if (!opened) {
    reason = errno == 0 ? "Not a regular file" : Reason(errno);
    return std::nullopt;
  }
  std::string content;
  std::size_t read = 0;
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size <= limit) content.resize(size + 1);  // one more, to notice the end
  while (read < content.size()) {
    const ssize_t result = ::read(opened.get(), content.data() + read, content.size() - read);
    if (result < 0 && errno == EINTR) continue;
    if (result < 0) {
      reason = Reason(errno);
      return std::nullopt;
    }
    if (result == 0) {
      content.resize(read);
      return content;
    }
    read += static_cast<std::size_t>(result);
    if (read == content.size() && read <= limit) content.resize(std::min(2 * read, limit + 1));
  }
  reason = "Larger than " + std::to_string(limit) + " bytes";
  return std::nullopt;
}

std::optional<std::string> CRuntimePath(const std::filesystem::path& path) { return path.native(); }

}  // namespace orv
