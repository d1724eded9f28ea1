#include "platform/synchronization.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <system_error>

namespace orv {
namespace {

constexpr std::size_t kMostEvents = 8;

using Clock = std::chrono::steady_clock;

HANDLE HandleOf(std::intptr_t native) noexcept { return reinterpret_cast<HANDLE>(native); }

// The rest of a wait, in pieces that the system's wait takes.
DWORD WaitTime(const std::optional<Clock::time_point>& deadline) noexcept {
  if (!deadline) return INFINITE;
  const auto rest = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
  return static_cast<DWORD>(std::clamp<std::int64_t>(rest, 0, INFINITE - 1));
}

std::optional<Clock::time_point> Deadline(std::optional<std::chrono::milliseconds> limit) noexcept {
  // Beyond a century the clock's own range gets near.
  constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365 * 100);
  if (!limit) return std::nullopt;
  return Clock::now() + std::min(*limit, kLongest);
}

}  // namespace

Event::Event(Kind kind)
    : kind_(kind),
      native_(reinterpret_cast<std::intptr_t>(
          ::CreateEventW(nullptr, kind == Kind::ManualReset, FALSE, nullptr))) {
  if (native_ == 0) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                            "CreateEvent");
  }
}

Event::~Event() { ::CloseHandle(HandleOf(native_)); }

void Event::Set() noexcept {
  // A waiter may destroy the event as soon as it is let through: nothing of it is touched
  // afterwards.
  const HANDLE handle = HandleOf(native_);
  signals_.fetch_add(1, std::memory_order_release);
  ::SetEvent(handle);
}

// It changes what the event stands for, so it is not const although no member changes.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Event::Reset() noexcept { ::ResetEvent(HandleOf(native_)); }

bool Event::Wait(std::optional<std::chrono::milliseconds> limit) noexcept {
  Event* const only[] = {this};
  return WaitAny(only, limit).has_value();
}

std::optional<std::size_t> WaitAny(std::span<Event* const> events,
                                   std::optional<std::chrono::milliseconds> limit) noexcept {
  if (events.empty() || events.size() > kMostEvents) return std::nullopt;
  std::array<HANDLE, kMostEvents> handles{};
  for (std::size_t i = 0; i < events.size(); ++i) handles[i] = HandleOf(events[i]->native_);

  const auto deadline = Deadline(limit);
  for (;;) {
    const DWORD time = WaitTime(deadline);
    const DWORD result =
        ::WaitForMultipleObjects(static_cast<DWORD>(events.size()), handles.data(), FALSE, time);
    if (result < WAIT_OBJECT_0 + events.size()) {
      events[result]->signals_.load(std::memory_order_acquire);
      return result;
    }
    if (result != WAIT_TIMEOUT || time == 0) return std::nullopt;
  }
}

}  // namespace orv
