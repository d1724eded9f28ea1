#include "simulated/registry/registry_hive.h"

#include <algorithm>

#include "simulated/registry/registry_file.h"
#include "simulated/registry/registry_tree_export.h"

namespace orv {

RegistryHive::RegistryHive(std::shared_ptr<FaultPlan> faults)
    : faults_(std::move(faults)), root_(MakeEmptyRegistry()) {}

RegistryHive::~RegistryHive() = default;

bool RegistryHive::Attach(const std::filesystem::path& folder, FileError& error) {
  const std::lock_guard guard(lock_);
  auto file = std::make_unique<RegistryFile>(folder);
  const RegistryNodePtr content = file->Read(error);
  if (content == nullptr) return false;
  ReconcileTree(*root_, *content);
  file_ = std::move(file);
  return true;
}

bool RegistryHive::Import(const RegistryExport& content, FileError& error) {
  const std::lock_guard guard(lock_);
  std::optional<FileLock> file_lock;
  if (!LockFile(file_lock)) {
    error.reason = "the registry file cannot be read or locked";
    return false;
  }
  const RegistryNodePtr changed = CloneTree(*root_);
  if (!ApplyExport(*changed, content, error)) return false;
  if (!Write(*changed)) {
    error.reason = "the registry file cannot be written";
    return false;
  }
  ReconcileTree(*root_, *changed);
  return true;
}

RegStatus RegistryHive::Commit(RegistryEdit& edit) {
  const std::lock_guard guard(lock_);
  std::optional<FileLock> file_lock;
  if (!LockFile(file_lock)) return kRegWriteFault;
  try {
    const RegStatus status = edit.Apply(*root_);
    if (status != kRegOk || !edit.changed) return status;
    if (!Write(*root_)) {
      edit.Undo();
      return kRegWriteFault;
    }
  } catch (...) {
    if (edit.changed) edit.Undo();
    throw;
  }
  edit.Announce();
  return kRegOk;
}

bool RegistryHive::LockFile(std::optional<FileLock>& file_lock) {
  if (file_ == nullptr) return true;
  file_lock = file_->Lock();
  return file_lock && Refresh();
}

bool RegistryHive::Write(const RegistryNode& root) {
  return !faults_->Check("registry.save") && (file_ == nullptr || file_->Write(root));
}

bool RegistryHive::Refresh() {
  if (file_ == nullptr || !file_->Changed()) return file_ == nullptr || file_->readable();
  try {
    FileError ignored;
    const RegistryNodePtr content = file_->Read(ignored);
    if (content == nullptr) return false;
    ReconcileTree(*root_, *content);
  } catch (...) {
    file_->Forget();  // to be read again
    throw;
  }
  return true;
}

RegStatus RegistryHive::Watch(RegistryNode& node, RegistryWatch& watch,
                              const RegistryWatch::Armed& entry) {
  const std::lock_guard watch_guard(watch_lock_);
  // The file is watched before the last look at it, so that no change falls between.
  if (file_watch_ == nullptr && !StartFileWatch()) return kRegOutOfMemory;
  const RegStatus status = Arm(node, watch, entry);
  if (watching_handles_ == 0) file_watch_.reset();
  return status;
}

RegStatus RegistryHive::Arm(RegistryNode& node, RegistryWatch& watch,
                            const RegistryWatch::Armed& entry) {
  const std::lock_guard guard(lock_);
  Refresh();
  if (node.deleted) return kRegKeyDeleted;
  watch.armed.reserve(watch.armed.size() + 1);
  if (!watch.attached) {
    node.watches.push_back(&watch);
    watch.attached = true;
    ++watching_handles_;
  }
  watch.armed.push_back(entry);
  return kRegOk;
}

void RegistryHive::Unwatch(RegistryNode& node, RegistryWatch& watch) noexcept {
  const std::lock_guard watch_guard(watch_lock_);
  if (!watch.attached) return;
  {
    const std::lock_guard guard(lock_);
    std::erase(node.watches, &watch);
    watch.attached = false;
    watch.SignalAll();
  }
  if (--watching_handles_ == 0) file_watch_.reset();
}

bool RegistryHive::StartFileWatch() {
  if (file_ == nullptr) return true;
  file_watch_ = RegistryFileWatch::Start(file_->folder(), [this] {
    const std::lock_guard guard(lock_);
    Refresh();
  });
  return file_watch_ != nullptr;
}

}  // namespace orv
