#include "simulated/registry/registry_file.h"

#include <charconv>

#include "simulated/registry/registry_tree_export.h"

namespace orv {
namespace {

constexpr std::size_t kLargestRegistryFile = std::size_t{256} << 20;  // bytes
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

RegistryFile::RegistryFile(const std::filesystem::path& folder)
    : file_(LinkTarget(folder / "registry.reg")) {}

bool RegistryFile::Changed() const { return FileStamp::Of(file_) != stamp_; }

RegistryNodePtr RegistryFile::Read(FileError& error) {
  error = {file_, 0, {}};
  readable_ = false;
  // The stamp is older than the content, never newer: a change in between is seen next time.
  stamp_ = FileStamp::Of(file_);
  const auto bytes = ReadWholeFile(file_, kLargestRegistryFile, error.reason);
  if (!bytes) return nullptr;
  auto content = DecodeRegistryExport(*bytes, error);
  if (!content) return nullptr;
  const ExportFormat format = content->format;
  RegistryNodePtr root = MakeEmptyRegistry();
  if (!ApplyExport(*root, std::move(*content), error)) return nullptr;
  format_ = format;
  change_ = ChangeNumber(bytes->substr(0, FileStamp::kHeadSize));
  readable_ = true;
  return root;
}

bool RegistryFile::Write(const RegistryNode& root) {
  const std::string comment = std::string(kChangeComment) + std::to_string(change_ + 1);
  std::string reason;
  if (!ReplaceFileContent(file_, ExportTree(root, format_, comment), reason, Writers::OneAtATime))
    return false;
  ++change_;
  stamp_ = FileStamp::Of(file_);
  return true;
}

std::optional<FileLock> RegistryFile::Lock() const {
  std::string reason;
  return FileLock::Acquire(folder() / ".registry.lock", reason);
}

RegistryFileWatch::RegistryFileWatch(std::function<void()> on_change)
    : on_change_(std::move(on_change)) {}

std::unique_ptr<RegistryFileWatch> RegistryFileWatch::Start(const std::filesystem::path& folder,
                                                            std::function<void()> on_change) {
  std::unique_ptr<RegistryFileWatch> watch(new RegistryFileWatch(std::move(on_change)));
  std::string reason;
  watch->folder_watch_ = FolderWatch::Start(folder, watch->changed_, reason);
  if (watch->folder_watch_ == nullptr) return nullptr;
  watch->thread_ = Thread::Start([raw = watch.get()] { return raw->Run(); });
  return watch->thread_ == nullptr ? nullptr : std::move(watch);
}

RegistryFileWatch::~RegistryFileWatch() {
  stop_.Set();
  while (thread_ != nullptr && !thread_->Wait(std::chrono::seconds(60))) {
  }
}

std::uint32_t RegistryFileWatch::Run() noexcept {
  Event* const events[] = {&stop_, &changed_};
  for (;;) {
    const auto signalled = WaitAny(events);
    if (!signalled || *signalled == 0) return 0;
    try {
      on_change_();
    } catch (const std::bad_alloc&) {
      changed_.Set();  // tried again; the change is not lost
    } catch (...) {
      // The next change is another occasion; an exception must not end the process.
    }
  }
}

}  // namespace orv
