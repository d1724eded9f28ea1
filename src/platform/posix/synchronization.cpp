#include "platform/synchronization.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <limits>
#include <system_error>

#include "platform/deadline.h"

namespace orv {
namespace {

// Empties the counter; false when it was empty already.
bool Empty(std::intptr_t descriptor) noexcept {
  std::uint64_t count = 0;
  return ::read(static_cast<int>(descriptor), &count, sizeof count) == sizeof count;
}

}  // namespace

Event::Event(Kind kind) : kind_(kind), native_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (native_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

Event::~Event() { ::close(static_cast<int>(native_)); }

void Event::Set() noexcept {
  // A waiter may destroy the event as soon as its wait is over: no member is used after the write.
  const int descriptor = static_cast<int>(native_);
  const std::uint64_t one = 1;
  signals_.fetch_add(1, std::memory_order_release);
  // A full counter refuses the write and stays signalled. A direct system call, because the thread
  // sanitizer takes a wrapped write for a use that ends after the wake.
  [[maybe_unused]] const auto written = ::syscall(SYS_write, descriptor, &one, sizeof one);
}

// Not const: it changes the state of the event, though no member.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Event::Reset() noexcept { Empty(native_); }

std::optional<std::size_t> WaitAny(std::span<Event* const> events,
                                   std::optional<std::chrono::milliseconds> limit) noexcept {
  if (events.empty() || events.size() > kMostEvents) return std::nullopt;
  std::array<pollfd, kMostEvents> waits{};
  for (std::size_t i = 0; i < events.size(); ++i)
    waits[i] = {static_cast<int>(events[i]->native_), POLLIN, 0};

  const Deadline deadline(limit);
  for (;;) {
    const int time = deadline.Rest(std::numeric_limits<int>::max(), -1);
    const int ready = ::poll(waits.data(), events.size(), time);
    if (ready < 0 && errno != EINTR) return std::nullopt;
    for (std::size_t i = 0; ready > 0 && i < events.size(); ++i) {
      if ((waits[i].revents & (POLLERR | POLLNVAL)) != 0) return std::nullopt;
      if ((waits[i].revents & POLLIN) == 0) continue;
      // Another wait may have taken this signal; then this one goes on.
      if (events[i]->kind_ == Event::Kind::ManualReset || Empty(events[i]->native_)) {
        events[i]->signals_.load(std::memory_order_acquire);
        return i;
      }
    }
    if (time == 0) return std::nullopt;
  }
}

}  // namespace orv
