#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "properties/property_fixture.h"
#include "properties/thread_basic.h"

namespace orv {
namespace {

using test::BoundSet;
using test::kDeadline;
using test::Listener;
using test::TextOf;
using testing::ElementsAre;

// One side watches the value "Mode" with a and b; the other side is another program that writes it.
class PropertySetWatch : public testing::Test {
 protected:
  PropertySetWatch() {
    for (BoundSet* side : {&watcher_, &writer_})
      for (const wchar_t* name : {L"a", L"b"}) side->set.SetProperty(name, 0);
    listener_.on_changed = [this](ORVPropertySet&, const ORVPropertyEntry& entry) {
      const std::optional<std::int32_t> number = IntegerOf(entry.value);
      if (entry.name == L"b" && number == last_) arrived_.Set();
    };
    watcher_.set.AddNotify(&listener_);
  }
  ~PropertySetWatch() override {
    watcher_.binding.StartWatch(false, L"");
    watcher_.set.RemoveNotify(&listener_);
  }

  void Write(std::int32_t a, std::int32_t b, const wchar_t* value = L"Mode") {
    writer_.set.SetProperty(L"a", a);
    writer_.set.SetProperty(L"b", b);
    ASSERT_TRUE(writer_.binding.SaveBinary(value));
  }
  // Writes a new value of b and waits until it has arrived.
  void WriteLast(std::int32_t a) {
    Write(a, last_);
    ASSERT_TRUE(arrived_.Wait(kDeadline));
  }

  static constexpr std::chrono::milliseconds kPause{20};  // without a notification
  static constexpr std::int32_t last_ = 1000000;
  Event arrived_{Event::Kind::ManualReset};
  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
  BoundSet writer_{*machine_};
  Listener listener_;
  RecursiveMutex reload_lock_;
  BoundSet watcher_{*machine_};
};

TEST_F(PropertySetWatch, ReportsEachOutsideChangeOnce) {
  writer_.set.SetProperty(L"c", 5);
  Write(1, 0);
  ASSERT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
  Write(1, 0);
  WriteLast(1);
  EXPECT_THAT(listener_.changed(), ElementsAre(L"a=1", L"b=1000000"));
  EXPECT_EQ(TextOf(watcher_.set, L"c"), L"(none)") << "nothing is added";
}

TEST_F(PropertySetWatch, ReportsAWriteDuringAReload) {
  Listener interferer;
  interferer.on_changed = [this](ORVPropertySet&, const ORVPropertyEntry& entry) {
    if (entry.name == L"a" && IntegerOf(entry.value) == 1) Write(2, last_);
  };
  watcher_.set.AddNotify(&interferer);
  Write(1, 1);
  ASSERT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
  EXPECT_TRUE(arrived_.Wait(kDeadline));
  watcher_.binding.StartWatch(false, L"");
  EXPECT_EQ(TextOf(watcher_.set, L"a"), L"2");
  watcher_.set.RemoveNotify(&interferer);
}

TEST_F(PropertySetWatch, ContinuesAfterAReloadThatThrows) {
  Event notified(Event::Kind::ManualReset);
  Listener thrower;
  thrower.on_changed = [&](ORVPropertySet&, const ORVPropertyEntry&) {
    notified.Set();
    throw std::runtime_error("listener");
  };
  Write(1, 0);
  watcher_.set.AddNotify(&thrower);
  ASSERT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
  ASSERT_TRUE(notified.Wait(kDeadline));
  watcher_.set.RemoveNotify(&thrower);
  WriteLast(2);
}

TEST_F(PropertySetWatch, ReloadsOnlyTheValueOfTheLastStart) {
  for (const wchar_t* value : {L"Mode", L"Other"}) Write(0, last_, value);
  for (const wchar_t* value : {L"Mode", L"Other"}) {
    watcher_.set.SetProperty(L"b", 0);
    arrived_.Reset();
    ASSERT_TRUE(watcher_.binding.StartWatch(true, value));
    ASSERT_TRUE(arrived_.Wait(kDeadline));
  }
  const std::uint32_t reads = machine_->faults().Calls("registry.query_value");
  SetBytes(*MachineKey(*machine_, L"SOFTWARE\\Test\\Below"), L"v", {1});
  std::this_thread::sleep_for(kPause);
  EXPECT_EQ(machine_->faults().Calls("registry.query_value"), reads);
  Write(7, last_, L"Mode");
  std::this_thread::sleep_for(kPause);
  EXPECT_THAT(listener_.changed(), testing::Not(testing::Contains(L"a=7")));
}

// The reload waits for a lock that the stopping thread holds; a thread that had to be terminated
// would leak its key.
TEST_F(PropertySetWatch, StopsUnderTheLocksOfAReload) {
  watcher_.binding.SetReloadLock(&reload_lock_);
  Write(1, 1);
  const auto start_and_stop = [this](auto& mutex) {
    const std::lock_guard guard(mutex);
    EXPECT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
    EXPECT_TRUE(watcher_.binding.StartWatch(false, L"Mode"));
  };
  start_and_stop(reload_lock_);
  start_and_stop(*watcher_.set.lock());
  EXPECT_THAT(listener_.changed(), testing::IsEmpty());
  ASSERT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
  WriteLast(1);
}

TEST_F(PropertySetWatch, ReloadsOnceIfItCannotBeArmed) {
  machine_->faults().FailAlways("registry.notify", kRegAccessDenied);
  Write(1, last_);
  ASSERT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
  ASSERT_TRUE(arrived_.Wait(kDeadline));
  machine_->faults().Clear();
  ASSERT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
  ASSERT_EQ(machine_->registry().DeleteTree(RegRoot::LocalMachine, L"SOFTWARE\\Test"), kRegOk);
  EXPECT_TRUE(watcher_.binding.StartWatch(false, L"Mode"));
  watcher_.binding.SetKey(nullptr);
  EXPECT_TRUE(watcher_.binding.StartWatch(true, L"Mode"));
}

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
