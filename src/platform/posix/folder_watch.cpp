#include <poll.h>
#include <sys/inotify.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "platform/files.h"
#include "platform/posix/file_descriptor.h"

namespace orv {

namespace {

constexpr std::uint32_t kChanges =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_ONLYDIR;

// Changes of the folder itself and lost notifications come without a name and count.
bool Counts(const inotify_event& notification) noexcept {
  return notification.len == 0 || notification.name[0] != '.';
}

class InotifyWatch final : public FolderWatch {
 public:
  InotifyWatch(FileDescriptor notifications, Event& changed)
      : changed_(changed), notifications_(std::move(notifications)) {}

  bool Run() {
    return thread_.Start([this] { WatchUntilStopped(); });
  }

 private:
  void WatchUntilStopped() noexcept;
  bool ReadChanges() const noexcept;

  Event& changed_;
  FileDescriptor notifications_;
  OwnedThread thread_;
};

// Empties the queue; true if a change in it counts.
bool InotifyWatch::ReadChanges() const noexcept {
  alignas(inotify_event) std::array<char, 4096> buffer;
  bool counts = false;
  for (;;) {
    const ssize_t size = ::read(notifications_.get(), buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return counts;
    for (ssize_t at = 0; at < size;) {
      const auto* next = reinterpret_cast<const inotify_event*>(buffer.data() + at);
      counts = counts || Counts(*next);
      at += static_cast<ssize_t>(sizeof(inotify_event) + next->len);
    }
  }
}

void InotifyWatch::WatchUntilStopped() noexcept {
  std::array<pollfd, 2> waits{
      {{static_cast<int>(thread_.stop.native()), POLLIN, 0}, {notifications_.get(), POLLIN, 0}}};
  for (;;) {
    if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) return;
    if (waits[0].revents != 0) return;
    if (waits[1].revents != 0 && ReadChanges()) changed_.Set();
    waits[1].revents = 0;
  }
}

}  // namespace

std::unique_ptr<FolderWatch> FolderWatch::Start(const std::filesystem::path& folder, Event& changed,
                                                std::string& reason) {
  try {
    FileDescriptor notifications(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!notifications || ::inotify_add_watch(notifications.get(), folder.c_str(), kChanges) < 0) {
      reason = std::generic_category().message(errno);
      return nullptr;
    }
    auto watch = std::make_unique<InotifyWatch>(std::move(notifications), changed);
    if (watch->Run()) return watch;
    reason = "No thread could be started";
  } catch (const std::system_error& error) {
    reason = error.code().message();
  }
  return nullptr;
}

}  // namespace orv
