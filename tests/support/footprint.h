// What a process holds, and that work done many times leaves none of it behind.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

namespace orv {

struct Footprint {
  std::size_t handles = 0;  // natively file descriptors
  std::size_t threads = 0;
  std::size_t bytes = 0;  // allocated in the process's heaps; 0 where they cannot be counted
};

Footprint MeasureFootprint();

// The usual number of rounds; ORV_ROUNDS, if it is set, for long runs.
inline int Rounds(int usual) {
  const char* wanted = std::getenv("ORV_ROUNDS");
  return wanted == nullptr ? usual : std::atoi(wanted);
}

// What the system's own libraries open and start meanwhile.
inline constexpr std::size_t kHandleSlack = 50;
inline constexpr std::size_t kThreadSlack = 15;
inline constexpr std::size_t kByteSlack = 64 * 1024;

// `bytes_a_round` is what the system itself is known to keep.
inline void ExpectNothingLeftBehind(int rounds, const std::function<void()>& round,
                                    std::size_t bytes_a_round = 0) {
  for (int i = 0; i < 10; ++i) round();  // what is opened once and kept
  const Footprint before = MeasureFootprint();
  for (int i = 0; i < rounds && !testing::Test::HasFatalFailure(); ++i) round();
  const Footprint after = MeasureFootprint();
  EXPECT_LT(after.handles, before.handles + kHandleSlack);
  EXPECT_LT(after.threads, before.threads + kThreadSlack);
  EXPECT_LT(after.bytes,
            before.bytes + kByteSlack + static_cast<std::size_t>(rounds) * bytes_a_round);
}

}  // namespace orv
