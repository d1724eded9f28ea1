#include <poll.h>
#include <sys/inotify.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>

#include "platform/files.h"
#include "platform/posix/file_descriptor.h"

namespace orv {

struct FolderWatch::State {
  explicit State(Event& event) : changed(event), stop(Event::Kind::ManualReset) {}

  void Run() noexcept;
  bool ReadChanges() const noexcept;

  Event& changed;
  Event stop;
  FileDescriptor notifications;
  std::unique_ptr<Thread> thread;
};

namespace {

constexpr std::uint32_t kChanges =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_ONLYDIR;

// Changes of the folder itself and lost notifications come without a name and count.
bool Counts(const inotify_event& notification) noexcept {
  return notification.len == 0 || notification.name[0] != '.';
}

}  // namespace

// Empties the queue; true when something in it counts.
bool FolderWatch::State::ReadChanges() const noexcept {
  alignas(inotify_event) std::array<char, 4096> buffer;
  bool counts = false;
  for (;;) {
    const ssize_t size = ::read(notifications.get(), buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return counts;
    for (ssize_t at = 0; at < size;) {
      const auto* next = reinterpret_cast<const inotify_event*>(buffer.data() + at);
      counts = counts || Counts(*next);
      at += static_cast<ssize_t>(sizeof(inotify_event) + next->len);
    }
  }
}

void FolderWatch::State::Run() noexcept {
  std::array<pollfd, 2> waits{
      {{static_cast<int>(stop.native()), POLLIN, 0}, {notifications.get(), POLLIN, 0}}};
  for (;;) {
    if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) return;
    if (waits[0].revents != 0) return;
    if (waits[1].revents != 0 && ReadChanges()) changed.Set();
    waits[1].revents = 0;
  }
}

FolderWatch::FolderWatch(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

std::unique_ptr<FolderWatch> FolderWatch::Start(const std::filesystem::path& folder, Event& changed,
                                                std::string& reason) {
  try {
    auto state = std::make_unique<State>(changed);
    state->notifications = FileDescriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!state->notifications ||
        ::inotify_add_watch(state->notifications.get(), folder.c_str(), kChanges) < 0) {
      reason = std::generic_category().message(errno);
      return nullptr;
    }
    std::unique_ptr<FolderWatch> watch(new FolderWatch(std::move(state)));
    watch->state_->thread = Thread::Start([running = watch->state_.get()] {
      running->Run();
      return 0U;
    });
    if (watch->state_->thread) return watch;
    reason = "No thread could be started";
  } catch (const std::system_error& error) {
    reason = error.code().message();
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
