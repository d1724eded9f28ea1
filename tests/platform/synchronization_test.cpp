#include "platform/synchronization.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace orv {
namespace {

using namespace std::chrono_literals;

constexpr auto kDeadline = 30s;

TEST(Events, ManualResetStaysSignalledAndAutoResetLetsOneWaitThrough) {
  for (const auto kind : {Event::Kind::ManualReset, Event::Kind::AutoReset}) {
    Event event(kind);
    EXPECT_FALSE(event.Wait(0ms));
    event.Set();
    event.Set();
    EXPECT_TRUE(event.Wait());
    EXPECT_EQ(event.Wait(0ms), kind == Event::Kind::ManualReset);
    event.Reset();
    EXPECT_FALSE(event.Wait(0ms));
  }
}

TEST(Events, WaitAnyReturnsTheFirstSignalledAndConsumesOnlyIt) {
  Event stop(Event::Kind::ManualReset);
  Event first(Event::Kind::AutoReset);
  Event second(Event::Kind::AutoReset);
  Event* const events[] = {&stop, &first, &second};
  EXPECT_EQ(WaitAny(events, 0ms), std::nullopt);
  second.Set();
  first.Set();
  EXPECT_EQ(WaitAny(events), 1U);
  EXPECT_EQ(WaitAny(events), 2U);
  EXPECT_EQ(WaitAny(events, 0ms), std::nullopt);
  stop.Set();
  first.Set();
  EXPECT_EQ(WaitAny(events), 0U);
  EXPECT_TRUE(first.Wait(0ms));
  EXPECT_EQ(WaitAny(std::vector<Event*>(9, &stop)), std::nullopt) << "more than it can wait for";
  EXPECT_EQ(WaitAny({}), std::nullopt);
}

TEST(Threads, KeepTheirExitCode) {
  Event go(Event::Kind::ManualReset);
  const auto thread = Thread::Start([&] {
    go.Wait(kDeadline);
    return 0xFFFFFFFFU;
  });
  ASSERT_TRUE(thread);
  EXPECT_NE(thread->id(), 0U);
  EXPECT_EQ(thread->ExitCode(), std::nullopt);
  EXPECT_FALSE(thread->Wait(0ms));
  go.Set();
  EXPECT_TRUE(thread->Wait(kDeadline));
  EXPECT_TRUE(thread->Terminate(3));
  EXPECT_EQ(thread->ExitCode(), 0xFFFFFFFFU);
}

TEST(Threads, NeitherWaitForNorEndThemselves) {
  std::unique_ptr<Thread> thread;
  Event stored(Event::Kind::ManualReset);
  thread = Thread::Start([&] {
    stored.Wait(kDeadline);
    return !thread->Wait(0ms) && !thread->Terminate(9) ? 1U : 0U;
  });
  ASSERT_TRUE(thread);
  stored.Set();
  EXPECT_TRUE(thread->Wait(kDeadline));
  EXPECT_EQ(thread->ExitCode(), 1U);
}

TEST(Threads, AnEscapingExceptionBecomesTheExitCode) {
  const auto thread = Thread::Start([]() -> std::uint32_t { throw std::runtime_error("worker"); });
  ASSERT_TRUE(thread);
  EXPECT_TRUE(thread->Wait(kDeadline));
  EXPECT_EQ(thread->ExitCode(), 0xFFFFFFFFU);
}

void ExpectTermination(Thread& thread) {
  EXPECT_TRUE(thread.Terminate(0xDEAD));
  EXPECT_TRUE(thread.Wait(0ms));
  EXPECT_EQ(thread.ExitCode(), 0xDEADU);
  EXPECT_TRUE(thread.Terminate(1));
  EXPECT_EQ(thread.ExitCode(), 0xDEADU);
}

TEST(TerminatedThread, EndsAtOnceThoughItIsBusy) {
  std::atomic<std::uint64_t> turns{0};
  Event begun(Event::Kind::ManualReset);
  const auto thread = Thread::Start([&]() -> std::uint32_t {
    for (;;)
      if (++turns == 1000) begun.Set();
  });
  ASSERT_TRUE(thread && begun.Wait(kDeadline));
  ExpectTermination(*thread);
  const std::uint64_t at_end = turns.load();
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  EXPECT_EQ(turns.load(), at_end);
}

TEST(TerminatedThread, LeavesItsLocksHeldAndItsObjectsAlone) {
  static std::mutex lock;
  static std::atomic<bool> cleaned_up{false};
  struct CleanUp {
    ~CleanUp() { cleaned_up = true; }
  };
  Event started(Event::Kind::ManualReset);
  Event* own_event = nullptr;
  const auto thread = Thread::Start([&] {
    const std::lock_guard guard(lock);
    const CleanUp clean_up;
    Event on_stack(Event::Kind::AutoReset);
    own_event = &on_stack;
    started.Set();
    on_stack.Wait();
    return 0U;
  });
  ASSERT_TRUE(thread && started.Wait(kDeadline));
  ExpectTermination(*thread);
  EXPECT_FALSE(lock.try_lock());
  EXPECT_FALSE(cleaned_up);
  // A watch that was armed with the thread's own event may still signal it.
  own_event->Set();
  EXPECT_TRUE(own_event->Wait(0ms));
}

TEST(TerminatedThread, AtAnyMomentOfItsLife) {
  for (int i = 0; i < 60; ++i) {
    const bool is_short = i % 2 == 0;
    const auto thread = Thread::Start([is_short] {
      if (!is_short) std::this_thread::sleep_for(1h);
      return 7U;
    });
    ASSERT_TRUE(thread);
    for (int pause = 0; pause < i; ++pause) std::this_thread::yield();
    ASSERT_TRUE(thread->Terminate(8));
    const auto code = thread->ExitCode();
    EXPECT_TRUE(code == 8U || (is_short && code == 7U));
  }
}

}  // namespace
}  // namespace orv
