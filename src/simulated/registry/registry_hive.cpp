#include "simulated/registry/registry_hive.h"

#include <algorithm>
#include <charconv>

#include "simulated/registry/registry_tree_export.h"

namespace orv {
namespace {

constexpr SharedFile::Form kRegistryFile = {"registry.reg", ".registry.lock",
                                            std::size_t{256} << 20, false};
constexpr std::string_view kChangeComment = "change ";

// The number of the latest change from the comment that follows the header; 0 without one.
std::uint64_t ChangeNumber(std::string head) {
  std::erase(head, '\0');  // UTF-16
  const std::size_t comment = head.find("; " + std::string(kChangeComment));
  std::uint64_t number = 0;
  if (comment == std::string::npos) return number;
  const char* digits = head.data() + comment + 2 + kChangeComment.size();
  std::from_chars(digits, head.data() + head.size(), number);
  return number;
}

}  // namespace

RegistryHive::RegistryHive(std::shared_ptr<FaultPlan> faults)
    : faults_(std::move(faults)), root_(MakeEmptyRegistry()) {}

RegistryHive::~RegistryHive() = default;

bool RegistryHive::Attach(const std::filesystem::path& folder, FileError& error) {
  const std::lock_guard guard(lock_);
  file_.emplace(folder, kRegistryFile, [this](const std::string* text, FileError& refusal) {
    return Load(*text, refusal);
  });
  if (file_->Read(error)) return true;
  file_.reset();
  return false;
}

std::optional<std::uint64_t> RegistryHive::Load(const std::string& text, FileError& error) {
  const RegistryNodePtr root = MakeEmptyRegistry();
  const auto format = ApplyExport(*root, text, error);
  if (!format) return std::nullopt;
  ReconcileTree(*root_, *root);
  format_ = *format;
  return ChangeNumber(text.substr(0, FileStamp::kHeadSize));
}

bool RegistryHive::Import(std::string_view text, FileError& error) {
  const std::lock_guard guard(lock_);
  std::optional<FileLock> file_lock;
  if (!LockFile(file_lock)) {
    error.reason = "the registry file cannot be read or locked";
    return false;
  }
  const RegistryNodePtr changed = CloneTree(*root_);
  if (!ApplyExport(*changed, text, error)) return false;
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
  if (!file_) return true;
  std::string ignored;
  file_lock = file_->Lock(ignored);
  return file_lock.has_value();
}

bool RegistryHive::Write(const RegistryNode& root) {
  if (faults_->Check("registry.save")) return false;
  std::string ignored;
  const auto encode = [&](std::uint64_t change) {
    return ExportTree(root, format_, std::string(kChangeComment) + std::to_string(change));
  };
  return !file_ || file_->Write(encode, ignored);
}

void RegistryHive::Refresh() {
  if (file_) file_->Refresh();
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
  if (!file_) return true;
  file_watch_ = RegistryFileWatch::Start(file_->folder(), [this] {
    const std::lock_guard guard(lock_);
    Refresh();
  });
  return file_watch_ != nullptr;
}

}  // namespace orv
