// Services for files that several processes share: a lock, replacement in one step, whole reads, a
// watch, and lookup without regard to letter case. Paths are the system's own.
//
// Operations that can fail give a readable reason without the path ("No such file or directory").
// They throw only std::bad_alloc.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/synchronization.h"

namespace orv {

// The path that a text in UTF-8 names, whatever the process's locale or code page.
inline std::filesystem::path PathFromUtf8(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

// An exclusive lock between processes, and between several holders within one process. The file
// serves only as the lock: it is created if it is missing, its content is never touched, and it
// must not be deleted or replaced while others may hold it. A FolderWatch does not report taking
// and releasing the lock.
class FileLock {
 public:
  // Waits until no other holder has the lock; nullopt if the file cannot be opened or locked. A
  // thread that holds the lock and asks for it again waits for ever.
  static std::optional<FileLock> Acquire(const std::filesystem::path& file, std::string& reason);

 private:
  explicit FileLock(std::shared_ptr<void> held) noexcept : held_(std::move(held)) {}
  std::shared_ptr<void> held_;  // its destructor releases the lock
};

// Shows whether a path still leads to the same file, unchanged. Where an open file can be replaced,
// the stamp keeps it open: no other file receives its identity, and a comparison is one system
// call. Elsewhere a comparison reads the first bytes, so that two changes within one tick of the
// file system's clock differ if the writers count there.
class FileStamp {
 public:
  static constexpr std::size_t kHeadSize = 192;  // bytes

  explicit FileStamp(const std::filesystem::path& file);
  // The stamp of a missing file matches until there is one.
  bool Matches(const std::filesystem::path& file) const;

 private:
  std::shared_ptr<const void> held_;  // null if the file is not kept open
  std::string state_;                 // what is compared
};

// Whether other writers may replace a file at the same time.
enum class Writers {
  Several,
  // The caller holds a lock that all writers take. They share one temporary file, so that the next
  // writer replaces one that a killed writer left.
  OneAtATime,
};

// Replaces the file's content, creating the file if it is missing: a reader, and every program
// after a crash, finds the old content or the new, never a mixture. If false is returned the old
// content is still there. Permissions are kept, and a symbolic link keeps pointing to its file.
bool ReplaceFileContent(const std::filesystem::path& file, std::string_view content,
                        std::string& reason, Writers writers = Writers::Several);

// The file that a symbolic link leads to; the path itself if it is not a link or leads nowhere. The
// file need not exist yet if its folder does (on Windows it must).
std::filesystem::path LinkTarget(const std::filesystem::path& file);

// The narrow path under which the C runtime opens a file, in the encoding of the system's file
// names (on Windows the ANSI code page); nullopt if it has none.
std::optional<std::string> CRuntimePath(const std::filesystem::path& path);

// The whole content of a regular file of at most `limit` bytes.
std::optional<std::string> ReadWholeFile(const std::filesystem::path& file, std::size_t limit,
                                         std::string& reason);

// Signals an event after each change to the files directly in a folder: written and closed, moved
// in or out, replaced, deleted. Several changes may give one signal. Files whose name starts with a
// dot (temporary ones, locks) do not count. No signal comes after the destructor.
class FolderWatch : boost::noncopyable {
 public:
  // Null if the folder is missing or cannot be watched. Changes made after the return are reported.
  // The event must outlive the watch.
  static std::unique_ptr<FolderWatch> Start(const std::filesystem::path& folder, Event& changed,
                                            std::string& reason);
  virtual ~FolderWatch() = default;

 protected:
  FolderWatch() = default;
};

struct PathBelow {
  std::filesystem::path path;
  bool exists = false;
};

// Finds `relative` (elements separated by slashes; empty ones and "." are ignored) below `folder`,
// each element in its exact spelling first and then ignoring the case of the letters A to Z. `path`
// has the spelling on disk as far as the path exists and the given one beyond; on a file system
// that ignores letter case itself it may have the given one throughout. Returns nullopt if ".." or
// a drive's name would lead out of the folder.
std::optional<PathBelow> FindBelow(const std::filesystem::path& folder, std::string_view relative);

}  // namespace orv
