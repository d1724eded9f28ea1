#include <windows.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <system_error>
#include <utility>

#include "platform/files.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error_text.h"

namespace orv {

struct FolderWatch::State {
  State(const std::filesystem::path& watched, Handle opened, Event& event)
      : path(watched), folder(std::move(opened)), changed(event) {}

  void Run() noexcept;
  bool Arm() noexcept;
  bool Counts(const FILE_NOTIFY_INFORMATION& notification) const noexcept;
  bool AnyCounts(DWORD size) const noexcept;

  std::filesystem::path path;
  Handle folder;
  Event& changed;
  Event stop{Event::Kind::ManualReset};
  Event completed{Event::Kind::AutoReset};
  Event armed{Event::Kind::ManualReset};  // or failed to
  bool is_watching = false;
  OVERLAPPED request{};
  alignas(FILE_NOTIFY_INFORMATION) std::array<std::byte, 4096> buffer{};
  std::unique_ptr<Thread> thread;
};

bool FolderWatch::State::Arm() noexcept {
  request = {};
  request.hEvent = reinterpret_cast<HANDLE>(completed.native());
  return ::ReadDirectoryChangesW(
             folder.get(), buffer.data(), static_cast<DWORD>(buffer.size()), FALSE,
             FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_SIZE,
             nullptr, &request, nullptr) != 0;
}

// Opening a file that is missing makes an empty one: no change yet, until something is written.
bool FolderWatch::State::Counts(const FILE_NOTIFY_INFORMATION& notification) const noexcept {
  const std::wstring_view name(notification.FileName,
                               notification.FileNameLength / sizeof(wchar_t));
  if (name.starts_with(L'.')) return false;
  if (notification.Action != FILE_ACTION_ADDED) return true;
  try {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return ::GetFileAttributesExW((path / name).c_str(), GetFileExInfoStandard, &data) != 0 &&
           (data.nFileSizeLow != 0 || data.nFileSizeHigh != 0);
  } catch (...) {
    return true;
  }
}

// Lost notifications leave the buffer empty and count.
bool FolderWatch::State::AnyCounts(DWORD size) const noexcept {
  if (size == 0) return true;
  for (const std::byte* at = buffer.data();;) {
    const auto* next = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(at);
    if (Counts(*next)) return true;
    if (next->NextEntryOffset == 0) return false;
    at += next->NextEntryOffset;
  }
}

// All requests are this thread's own: the system cancels those of a thread that has ended.
void FolderWatch::State::Run() noexcept {
  bool pending = is_watching = Arm();
  armed.Set();
  Event* const events[] = {&stop, &completed};
  while (pending && WaitAny(events) == 1U) {
    DWORD size = 0;
    pending = false;
    // Without an answer the folder itself is gone, which is a change too.
    const bool counts =
        ::GetOverlappedResult(folder.get(), &request, &size, FALSE) == 0 || AnyCounts(size);
    pending = Arm();
    if (counts) changed.Set();
  }
  DWORD size = 0;
  if (pending && ::CancelIo(folder.get()) != 0)
    ::GetOverlappedResult(folder.get(), &request, &size, TRUE);
}

FolderWatch::FolderWatch(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

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
    std::unique_ptr<FolderWatch> watch(
        new FolderWatch(std::make_unique<State>(folder, std::move(opened), changed)));
    State* const running = watch->state_.get();
    running->thread = Thread::Start([running] {
      running->Run();
      return 0U;
    });
    if (running->thread && running->armed.Wait() && running->is_watching) return watch;
    reason = "The folder cannot be watched";
  } catch (const std::system_error& error) {
    reason = SystemErrorText(static_cast<unsigned long>(error.code().value()));
  }
  return nullptr;
}

FolderWatch::~FolderWatch() {
  if (!state_->thread) return;
  state_->stop.Set();
  while (!state_->thread->Wait(std::chrono::minutes(1))) {
  }
}

}  // namespace orv
