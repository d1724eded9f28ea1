#include "platform/synchronization.h"

#include <windows.h>

#include <array>
#include <system_error>

#include "platform/deadline.h"

namespace orv {
namespace {

HANDLE HandleOf(std::intptr_t native) noexcept { return reinterpret_cast<HANDLE>(native); }

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
  // A waiter may destroy the event as soon as its wait is over: no member is used afterwards.
  const HANDLE handle = HandleOf(native_);
  signals_.fetch_add(1, std::memory_order_release);
  ::SetEvent(handle);
}

// Not const: it changes the state of the event, though no member.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Event::Reset() noexcept { ::ResetEvent(HandleOf(native_)); }

std::optional<std::size_t> WaitAny(std::span<Event* const> events,
                                   std::optional<std::chrono::milliseconds> limit) noexcept {
  if (events.empty() || events.size() > kMostEvents) return std::nullopt;
  std::array<HANDLE, kMostEvents> handles{};
  for (std::size_t i = 0; i < events.size(); ++i) handles[i] = HandleOf(events[i]->native_);

  const Deadline deadline(limit);
  for (;;) {
    const DWORD time = deadline.Rest<DWORD>(INFINITE - 1, INFINITE);
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
