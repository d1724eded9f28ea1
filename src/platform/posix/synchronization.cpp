#include "platform/synchronization.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <system_error>

namespace orv {
namespace {

constexpr std::size_t kMostEvents = 8;

using Clock = std::chrono::steady_clock;

// When a wait that starts now is over; nothing for one without end.
std::optional<Clock::time_point> Deadline(std::optional<std::chrono::milliseconds> limit) noexcept {
  // Beyond a century the clock's own range gets near.
  constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365 * 100);
  if (!limit) return std::nullopt;
  return Clock::now() + std::min(*limit, kLongest);
}

// The rest of a wait as poll takes it.
int PollTime(const std::optional<Clock::time_point>& deadline) noexcept {
  if (!deadline) return -1;
  const auto rest = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(rest, 0, std::numeric_limits<int>::max()));
}

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
  // A waiter may destroy the event as soon as it is let through: nothing of it is touched after the
  // write.
  const int descriptor = static_cast<int>(native_);
  const std::uint64_t one = 1;
  signals_.fetch_add(1, std::memory_order_release);
  // A full counter refuses the write, and is signalled as it should be. Straight to the kernel,
  // because the thread sanitizer takes a wrapped write for a use that ends after the wake.
  [[maybe_unused]] const auto written = ::syscall(SYS_write, descriptor, &one, sizeof one);
}

// It changes what the event stands for, so it is not const although no member changes.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Event::Reset() noexcept { Empty(native_); }

bool Event::Wait(std::optional<std::chrono::milliseconds> limit) noexcept {
  Event* const only[] = {this};
  return WaitAny(only, limit).has_value();
}

std::optional<std::size_t> WaitAny(std::span<Event* const> events,
                                   std::optional<std::chrono::milliseconds> limit) noexcept {
  if (events.empty() || events.size() > kMostEvents) return std::nullopt;
  std::array<pollfd, kMostEvents> waits{};
  for (std::size_t i = 0; i < events.size(); ++i)
    waits[i] = {static_cast<int>(events[i]->native_), POLLIN, 0};

  const auto deadline = Deadline(limit);
  for (;;) {
    const int time = PollTime(deadline);
    const int ready = ::poll(waits.data(), events.size(), time);
    if (ready < 0 && errno != EINTR) return std::nullopt;
    for (std::size_t i = 0; ready > 0 && i < events.size(); ++i) {
      if ((waits[i].revents & (POLLERR | POLLNVAL)) != 0) return std::nullopt;
      if ((waits[i].revents & POLLIN) == 0) continue;
      // Another wait may have been let through by this signal; then this one goes on.
      if (events[i]->kind_ == Event::Kind::ManualReset || Empty(events[i]->native_)) {
        events[i]->signals_.load(std::memory_order_acquire);
        return i;
      }
    }
    if (time == 0) return std::nullopt;
  }
}

}  // namespace orv
