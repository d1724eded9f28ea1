#include "support/footprint.h"

#include <vector>

#include "platform/synchronization.h"

namespace orv {
namespace {

TEST(Footprint, RisesWithWhatIsHeld) {
  const Footprint before = MeasureFootprint();
  Event stop(Event::Kind::ManualReset);
  std::vector<std::unique_ptr<Event>> events;
  std::vector<std::unique_ptr<Thread>> threads;
  for (int i = 0; i < 200; ++i) events.push_back(std::make_unique<Event>(Event::Kind::AutoReset));
  for (int i = 0; i < 20; ++i)
    threads.push_back(Thread::Start([&] { return stop.Wait() ? 1U : 0U; }));
  const std::vector<char> block(1 << 20);
  const Footprint after = MeasureFootprint();
  EXPECT_GE(after.handles, before.handles + 200 - kHandleSlack);
  EXPECT_GE(after.threads, before.threads + 20);
  const bool counted = before.bytes != 0;  // not under sanitizers
  EXPECT_GE(after.bytes, counted ? before.bytes + block.size() : 0);
  stop.Set();
  for (const auto& thread : threads) EXPECT_TRUE(thread->Wait(std::chrono::seconds(30)));
}

}  // namespace
}  // namespace orv
