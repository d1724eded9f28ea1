#include "simulated/registry/registry_hive.h"

#include <fmt/format.h>

#include <charconv>

namespace orv {
namespace {

constexpr SharedFile::Form kRegistryFile = {"registry.reg", ".registry.lock",
                                            std::size_t{256} << 20, false};
constexpr std::string_view kChangeComment = "; change ";

// The number of the latest change from the comment that follows the header; 0 without one.
std::uint64_t ChangeNumber(std::string head) {
  std::erase(head, '\0');  // UTF-16
  const std::size_t comment = head.find(kChangeComment);
  std::uint64_t number = 0;
  if (comment == std::string::npos) return number;
  const char* digits = head.data() + comment + kChangeComment.size();
  std::from_chars(digits, head.data() + head.size(), number);
  return number;
}

}  // namespace

// Calls back after changes of a folder's files, on a thread of its own, until it is destroyed.
class RegistryHive::FileWatch {
 public:
  // Returns null if the system has no watch or thread left.
  static std::unique_ptr<FileWatch> Start(const std::filesystem::path& folder,
                                          std::function<void()> on_change) {
    auto watch = std::make_unique<FileWatch>(std::move(on_change));
    std::string reason;
    watch->folder_watch_ = FolderWatch::Start(folder, watch->changed_, reason);
    if (watch->folder_watch_ == nullptr) return nullptr;
    return watch->thread_.Start([raw = watch.get()] { raw->Run(); }) ? std::move(watch) : nullptr;
  }
  explicit FileWatch(std::function<void()> on_change) : on_change_(std::move(on_change)) {}

 private:
  void Run() noexcept {
    Event* const events[] = {&thread_.stop, &changed_};
    for (;;) {
      const auto signalled = WaitAny(events);
      if (!signalled || *signalled == 0) return;
      try {
        on_change_();
      } catch (const std::bad_alloc&) {
        changed_.Set();  // tried again; the change is not lost
      } catch (...) {
        // The next change is another occasion; an exception must not end the process.
      }
    }
  }

  std::function<void()> on_change_;
  Event changed_{Event::Kind::AutoReset};
  std::unique_ptr<FolderWatch> folder_watch_;
  OwnedThread thread_;
};

RegistryHive::RegistryHive(std::shared_ptr<FaultPlan> faults)
    : faults_(std::move(faults)), root_(MakeEmptyRegistry()) {}

RegistryHive::~RegistryHive() = default;

bool RegistryHive::Attach(const std::filesystem::path& folder, FileError& error) {
  const std::lock_guard guard(lock_);
  file_.emplace(folder, kRegistryFile, [this](const std::string* text, FileError& refusal) {
    return Load(*text, refusal);
  });
  return file_->Read(error);
}

std::optional<std::uint64_t> RegistryHive::Load(const std::string& text, FileError& error) {
  const RegistryNodePtr root = MakeEmptyRegistry();
  const auto format = ApplyExport(*root, text, error);
  if (!format) return std::nullopt;
  ReconcileTree(*root_, *root);
  format_ = *format;
  return ChangeNumber(text.substr(0, FileStamp::kHeadSize));
}

RegStatus RegistryHive::Commit(RegistryEdit& edit) {
  const std::lock_guard guard(lock_);
  std::optional<FileLock> file_lock;
  std::string ignored;
  if (file_) file_lock = file_->Lock(ignored);
  if (file_ && !file_lock) return kRegWriteFault;
  RegStatus status = kRegWriteFault;
  try {
    status = edit.apply(*root_);
    if (status == kRegOk && edit.changed && !Write()) status = kRegWriteFault;
  } catch (...) {
    if (edit.changed) edit.undo();
    throw;
  }
  if (edit.changed && status == kRegOk) edit.announce();
  if (edit.changed && status != kRegOk) edit.undo();
  return status;
}

bool RegistryHive::Write() {
  if (faults_->Check("registry.save")) return false;
  std::string ignored;
  const auto encode = [&](std::uint64_t change) {
    return ExportTree(*root_, format_, fmt::format("change {}", change));
  };
  return !file_ || file_->Write(encode, ignored);
}

RegStatus RegistryHive::Watch(RegistryNode& node, RegistryWatch& watch,
                              const RegistryWatch::Armed& entry) {
  const std::lock_guard watch_guard(watch_lock_);
  // The file is watched before the last look at it, so that no change falls between.
  if (file_ && file_watch_ == nullptr) {
    file_watch_ = FileWatch::Start(file_->folder(), [this] {
      const std::lock_guard guard(lock_);
      Refresh();
    });
    if (file_watch_ == nullptr) return kRegOutOfMemory;
  }
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

}  // namespace orv
