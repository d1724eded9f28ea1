#include <windows.h>

#include <array>
#include <cstddef>
#include <system_error>
#include <utility>

#include "platform/files.h"
#include "platform/windows/system_calls.h"

namespace orv {

namespace {

class DirectoryWatch final : public FolderWatch {
 public:
  DirectoryWatch(const std::filesystem::path& path, Handle folder, Event& changed)
      : path_(path), folder_(std::move(folder)), changed_(changed) {}

  // True when the folder is watched.
  bool Run() {
    return thread_.Start([this] { WatchUntilStopped(); }) && armed_.Wait() && is_watching_;
  }

 private:
  void WatchUntilStopped() noexcept;
  bool Arm() noexcept;
  bool Counts(const FILE_NOTIFY_INFORMATION& notification) const noexcept;
  bool AnyCounts(DWORD size) const noexcept;

  std::filesystem::path path_;
  Handle folder_;
  Event& changed_;
  Event completed_{Event::Kind::AutoReset};
  Event armed_{Event::Kind::ManualReset};  // or failed to
  bool is_watching_ = false;
  OVERLAPPED request_{};
  alignas(FILE_NOTIFY_INFORMATION) std::array<std::byte, 4096> buffer_{};
  OwnedThread thread_;
};

bool DirectoryWatch::Arm() noexcept {
  request_ = {};
  request_.hEvent = reinterpret_cast<HANDLE>(completed_.native());
  return ::ReadDirectoryChangesW(
             folder_.get(), buffer_.data(), static_cast<DWORD>(buffer_.size()), FALSE,
             FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_SIZE,
             nullptr, &request_, nullptr) != 0;
}

// Opening a file that is missing makes an empty one: no change yet, until something is written.
bool DirectoryWatch::Counts(const FILE_NOTIFY_INFORMATION& notification) const noexcept {
  const std::wstring_view name(notification.FileName,
                               notification.FileNameLength / sizeof(wchar_t));
  if (name.starts_with(L'.')) return false;
  if (notification.Action != FILE_ACTION_ADDED) return true;
  try {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return ::GetFileAttributesExW((path_ / name).c_str(), GetFileExInfoStandard, &data) != 0 &&
           (data.nFileSizeLow != 0 || data.nFileSizeHigh != 0);
  } catch (...) {
    return true;
  }
}

// Lost notifications leave the buffer empty and count.
bool DirectoryWatch::AnyCounts(DWORD size) const noexcept {
  if (size == 0) return true;
  for (const std::byte* at = buffer_.data();;) {
    const auto* next = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(at);
    if (Counts(*next)) return true;
    if (next->NextEntryOffset == 0) return false;
    at += next->NextEntryOffset;
  }
}

// All requests are this thread's own: the system cancels those of a thread that has ended.
void DirectoryWatch::WatchUntilStopped() noexcept {
  bool pending = is_watching_ = Arm();
  armed_.Set();
  Event* const events[] = {&thread_.stop, &completed_};
  while (pending && WaitAny(events) == 1U) {
    DWORD size = 0;
    pending = false;
    // Without an answer the folder itself is gone, which is a change too.
    const bool counts =
        ::GetOverlappedResult(folder_.get(), &request_, &size, FALSE) == 0 || AnyCounts(size);
    pending = Arm();
    if (counts) changed_.Set();
  }
  DWORD size = 0;
  if (pending && ::CancelIo(folder_.get()) != 0)
    ::GetOverlappedResult(folder_.get(), &request_, &size, TRUE);
}

}  // namespace

std::unique_ptr<FolderWatch> FolderWatch::Start(const std::filesystem::path& folder, Event& changed,
                                                std::string& reason) {
  try {
    Handle opened(::CreateFileW(
        folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!opened) {
      reason = SystemErrorText(::GetLastError());
      return nullptr;
    }
    auto watch = std::make_unique<DirectoryWatch>(folder, std::move(opened), changed);
    if (watch->Run()) return watch;
    reason = "The folder cannot be watched";
  } catch (const std::system_error& error) {
    reason = SystemErrorText(static_cast<unsigned long>(error.code().value()));
  }
  return nullptr;
}

}  // namespace orv
