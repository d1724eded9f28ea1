// For programs linked with orv_failing_allocator.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "support/failing_allocator.h"

namespace orv {

// Runs `step` with one allocation after the other failing, and `check(n)` after the nth, with
// memory again, until the step needs fewer; that run succeeds unchecked. Each `stride`th of the
// first fifty fails, then ever fewer: steps with thousands of allocations repeat the same few. In
// long runs each one fails.
template <class Step, class Check>
void WithEveryAllocationFailing(Step&& step, Check&& check, std::size_t stride = 1) {
  const bool is_long = std::getenv("ORV_ROUNDS") != nullptr;
  bool failed = true;
  for (std::size_t nth = 1; failed && !testing::Test::HasFatalFailure();
       nth += is_long ? 1 : stride + nth / 50) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    {
      const FailingAllocations failing(nth);
      try {
        step();
      } catch (const std::bad_alloc&) {
      }
      failed = failing.failed();
    }
    if (failed) check(nth);
  }
}

}  // namespace orv
