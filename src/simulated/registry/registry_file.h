// The registry file of a machine's folder: reading, replacing, noticing changes made by others.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/file_stamp.h"
#include "platform/files.h"
#include "platform/synchronization.h"
#include "simulated/registry/registry_export.h"
#include "simulated/registry/registry_tree.h"

namespace orv {

class RegistryFile {
 public:
  // A linked file is locked, watched and replaced where the link leads to at this moment.
  explicit RegistryFile(const std::filesystem::path& folder);

  // True when the file differs from what was last read or written here.
  bool Changed() const;
  // The whole file as a tree; null, with the reason, when it is refused.
  RegistryNodePtr Read(FileError& error);
  // The next look finds the file changed.
  void Forget() noexcept { stamp_ = {}; }
  // Whether the last reading succeeded.
  bool readable() const noexcept { return readable_; }
  // Replaces the file; to be called under the lock. False when the disk says no.
  bool Write(const RegistryNode& root);

  std::optional<FileLock> Lock() const;  // between processes; nothing when it cannot be had
  std::filesystem::path folder() const { return file_.parent_path(); }

 private:
  std::filesystem::path file_;
  ExportFormat format_;  // the one the file came in
  FileStamp stamp_;
  std::uint64_t change_ = 0;  // number of the latest change
  bool readable_ = false;
};

// Calls back after changes of a folder's files, on a thread of its own, until it is destroyed.
class RegistryFileWatch {
 public:
  // Null when the system has no watch or thread to give.
  static std::unique_ptr<RegistryFileWatch> Start(const std::filesystem::path& folder,
                                                  std::function<void()> on_change);
  ~RegistryFileWatch();
  RegistryFileWatch(const RegistryFileWatch&) = delete;
  RegistryFileWatch& operator=(const RegistryFileWatch&) = delete;

 private:
  explicit RegistryFileWatch(std::function<void()> on_change);
  std::uint32_t Run() noexcept;

  std::function<void()> on_change_;
  Event stop_{Event::Kind::ManualReset};
  Event changed_{Event::Kind::AutoReset};
  std::unique_ptr<FolderWatch> folder_watch_;
  std::unique_ptr<Thread> thread_;
};

}  // namespace orv
