// The registry of one simulated machine as its key handles share it: one lock around the tree,
// kept in step with the machine's registry file when there is one.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include "simulated/description/fault_plan.h"
#include "simulated/registry/registry_export.h"
#include "simulated/shared_file.h"

namespace orv {

// One change of the tree. Apply runs once, under the hive's lock; a change that could not be
// written to disk is undone, any other is announced to the watches.
class RegistryEdit {
 public:
  virtual ~RegistryEdit() = default;
  virtual RegStatus Apply(RegistryNode& root) = 0;
  virtual void Undo() noexcept = 0;
  virtual void Announce() noexcept = 0;
  bool changed = false;  // set by Apply as soon as there is something to write or undo
};

class RegistryHive {
 public:
  explicit RegistryHive(std::shared_ptr<FaultPlan> faults);
  ~RegistryHive();
  RegistryHive(const RegistryHive&) = delete;
  RegistryHive& operator=(const RegistryHive&) = delete;

  // Keeps the hive in a folder's registry file from now on. Returns false, with the reason, if the
  // file is refused.
  bool Attach(const std::filesystem::path& folder, FileError& error);
  bool Import(std::string_view text, FileError& error);

  FaultPlan& faults() noexcept { return *faults_; }

  // Runs `body(root)` on the present state.
  template <class Body>
  RegStatus Read(Body&& body) {
    const std::lock_guard guard(lock_);
    Refresh();
    return body(*root_);
  }
  RegStatus Commit(RegistryEdit& edit);

  // Arms a notification; the handle owns the watch and removes it by Unwatch.
  RegStatus Watch(RegistryNode& node, RegistryWatch& watch, const RegistryWatch::Armed& entry);
  void Unwatch(RegistryNode& node, RegistryWatch& watch) noexcept;

 private:
  class FileWatch;

  // Takes over the content of the file.
  std::optional<std::uint64_t> Load(const std::string& text, FileError& error);
  // Takes over what others wrote to the file. Under the lock.
  void Refresh();
  // Locks the file between processes and takes over what others wrote.
  bool LockFile(std::optional<FileLock>& file_lock);
  bool Write(const RegistryNode& root);
  bool StartFileWatch();
  RegStatus Arm(RegistryNode& node, RegistryWatch& watch, const RegistryWatch::Armed& entry);

  std::shared_ptr<FaultPlan> faults_;
  std::mutex lock_;
  RegistryNodePtr root_;  // its children are HKEY_LOCAL_MACHINE and so on
  ExportFormat format_;   // of the file
  std::optional<SharedFile> file_;

  std::mutex watch_lock_;  // taken before lock_, never the other way
  std::size_t watching_handles_ = 0;
  std::unique_ptr<FileWatch> file_watch_;
};

}  // namespace orv
