#include "properties/thread_basic.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

#include "properties/property_fixture.h"

namespace orv {
namespace {

using test::kDeadline;

class Worker : public IORVThreadBasicWorker {
 public:
  explicit Worker(std::function<bool(ORVThreadBasic&, Event&)> body) : body_(std::move(body)) {}
  bool Run(ORVThreadBasic& thread, Event& stop) override {
    entered.Set();
    const bool result = body_(thread, stop);
    left.Set();
    return result;
  }
  Event entered{Event::Kind::AutoReset};
  Event left{Event::Kind::AutoReset};

 private:
  std::function<bool(ORVThreadBasic&, Event&)> body_;
};

constexpr std::chrono::milliseconds kWhile{20};

bool UntilStopped(ORVThreadBasic&, Event& stop) {
  const bool stopped = stop.Wait();
  std::this_thread::sleep_for(kWhile);  // well within the time that Stop(0) gives
  return stopped;
}

TEST(ThreadBasic, RunsUntilStoppedAndCanBeStartedAgain) {
  Worker worker(UntilStopped);
  ORVThreadBasic thread;
  EXPECT_FALSE(thread.Start(nullptr));
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(thread.Start(&worker));
    ASSERT_TRUE(worker.entered.Wait(kDeadline));
    thread.Stop(0);
    EXPECT_TRUE(worker.left.Wait(std::chrono::milliseconds(0)));
    EXPECT_FALSE(thread.Start(nullptr)) << "the worker is forgotten";
  }
  thread.Stop(0);
}

TEST(ThreadBasic, StopTerminatesAWorkerThatDoesNotReturn) {
  static Event never(Event::Kind::ManualReset);
  Worker stuck([](ORVThreadBasic&, Event&) { return never.Wait(); });
  Worker willing(UntilStopped);
  ORVThreadBasic thread;
  ASSERT_TRUE(thread.Start(&stuck));
  ASSERT_TRUE(stuck.entered.Wait(kDeadline));
  thread.Stop(1);
  never.Set();
  EXPECT_FALSE(stuck.left.Wait(kWhile));
  ASSERT_TRUE(thread.Start(&willing));
  ASSERT_TRUE(willing.entered.Wait(kDeadline));
  thread.Stop(0);
  EXPECT_TRUE(willing.left.Wait(std::chrono::milliseconds(0)));
}

TEST(ThreadBasic, WorkerMayRunAgainAfterAnException) {
  Worker worker([](ORVThreadBasic&, Event&) -> bool { throw std::runtime_error("worker"); });
  ORVThreadBasic thread;
  for (IORVThreadBasicWorker* given : {&worker, static_cast<Worker*>(nullptr)}) {
    ASSERT_TRUE(thread.Start(given));
    ASSERT_TRUE(worker.entered.Wait(kDeadline));
  }
}

}  // namespace
}  // namespace orv
