// Services for files that several processes share: a lock, replacement in one step, whole reads, a
// watch, and lookup without regard to letter case. Paths are the system's own.
//
// Operations that can fail give the reason as text for people, without the path ("No such file or
// directory"). Only std::bad_alloc leaves them as an exception.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/synchronization.h"

namespace orv {

// The path that a text in UTF-8 names, whatever the process's locale or code page.
inline std::filesystem::path PathFromUtf8(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

// An exclusive lock between processes, and between several holders within one process. The file is
// only there to be locked: it is created when missing, its content is never touched, and nobody may
// delete or replace it while others may hold it. Taking and releasing the lock is no change that a
// FolderWatch reports.
class FileLock {
 public:
  // Waits until nobody else holds the lock; nothing when the file cannot be opened or locked. A
  // thread that holds the lock and asks for it again waits for ever.
  static std::optional<FileLock> Acquire(const std::filesystem::path& file, std::string& reason);
  ~FileLock();  // releases
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;

 private:
  explicit FileLock(std::intptr_t native) noexcept : native_(native) {}
  std::intptr_t native_;
};

// Whether other writers may replace a file at the same time.
enum class Writers {
  Several,
  // The caller holds a lock that all writers take. They share one temporary file, so one that a
  // killed writer left is used again.
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

// The narrow path under which the C runtime opens a file, in whatever bytes the system's files have
// their names (on Windows those of the ANSI code page); nullopt if it has none.
std::optional<std::string> CRuntimePath(const std::filesystem::path& path);

// The whole content of a regular file of at most `limit` bytes.
std::optional<std::string> ReadWholeFile(const std::filesystem::path& file, std::size_t limit,
                                         std::string& reason);

// Signals an event after each change to the files that lie directly in a folder: written and
// closed, moved in or out, replaced, deleted. Several changes may give one signal. Files whose name
// starts with a dot (temporary ones, locks) do not count.
class FolderWatch {
 public:
  // Null when the folder is missing or cannot be watched. Changes made after the return are
  // reported. The event must outlive the watch.
  static std::unique_ptr<FolderWatch> Start(const std::filesystem::path& folder, Event& changed,
                                            std::string& reason);
  ~FolderWatch();  // no signal comes after this
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

 private:
  struct State;
  explicit FolderWatch(std::unique_ptr<State> state) noexcept;
  std::unique_ptr<State> state_;
};

struct PathBelow {
  std::filesystem::path path;
  bool exists = false;
};

// Finds `relative` (elements separated by slashes; empty ones and "." are passed over) below
// `folder`, each element in its exact spelling first and then without regard to the case of the
// letters A to Z. `path` has the spelling on disk as far as the path exists and the given one
// beyond; on a file system that finds any letter case itself it may have the given one throughout.
// Nothing when ".." or a drive's name would lead out of the folder.
std::optional<PathBelow> FindBelow(const std::filesystem::path& folder, std::string_view relative);

}  // namespace orv
