// How many handles this process has open, and that work done many times leaves none behind.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>

#include "platform/synchronization.h"

namespace orv {

// What the system's own libraries open meanwhile.
inline constexpr std::uintptr_t kHandleSlack = 50;

// Seen on Wine 8.0: the count is always 0. There handles are numbered by fours, the lowest free
// number first, so that a new one shows how many are open.
inline std::uintptr_t HandleLevel() {
  DWORD count = 0;
  if (::GetProcessHandleCount(::GetCurrentProcess(), &count) != 0 && count != 0) return count;
  const Event event(Event::Kind::AutoReset);
  return static_cast<std::uintptr_t>(event.native()) / 4;
}

inline void ExpectNoHandleLeftBehind(int rounds, const std::function<void()>& round) {
  for (int i = 0; i < 10; ++i) round();  // what is opened once and kept
  const std::uintptr_t before = HandleLevel();
  for (int i = 0; i < rounds && !testing::Test::HasFatalFailure(); ++i) round();
  EXPECT_LT(HandleLevel(), before + kHandleSlack);
}

}  // namespace orv
