// Listeners, the registry watch and client threads together. Each test ends long before a stop
// would terminate the watch thread.
#include <gmock/gmock.h>

#include <functional>
#include <thread>

#include "platform/synchronization.h"
#include "settings_fixture.h"

namespace orv {
namespace {

using namespace std::chrono_literals;

static_assert(ORVThreadBasic::kDefaultStopMilliseconds == 5000);
constexpr auto kPromptly = 4000ms;

// Runs a step on a thread of its own; true when it ends promptly. A step that hangs keeps its
// thread, so the whole test program is given up.
bool EndsPromptly(const std::function<void()>& step) {
  Event ended(Event::Kind::ManualReset);
  std::thread thread([&] {
    step();
    ended.Set();
  });
  const bool prompt = ended.Wait(kPromptly);
  if (!prompt && !ended.Wait(60s)) std::abort();
  thread.join();
  return prompt;
}

// Calls a function of the test on each notification.
class Listener : public ListenerLog {
 public:
  explicit Listener(std::function<void()> reaction = [] {}) : reaction_(std::move(reaction)) {}
  void OnSettingChanged(ORVAPOPublicSettings& settings, const ORVQVTValue& value) override {
    ListenerLog::OnSettingChanged(settings, value);
    reaction_();
    notified.Set();
  }
  Event notified{Event::Kind::AutoReset};

 private:
  std::function<void()> reaction_;
};

// Settings whose lock a test can hold as a client operation would.
class LockableSettings : public ORVAPOPublicSettings {
 public:
  using ORVAPOPublicSettings::ORVAPOPublicSettings;
  std::recursive_mutex& lock() { return lock_; }
};

class WatchedSettings : public SettingsFixture {
 protected:
  WatchedSettings() { EXPECT_TRUE(settings_->Init(endpoint_, mode_)); }
  // Another process changes control A; every call stores another text.
  void ChangeOutside() { Store({{"A", std::to_string(++next_)}, {"B", "6"}}); }

  ORVAPOOperatingMode mode_ = MakeMode({{"A", "5"}, {"B", "6"}});
  std::unique_ptr<LockableSettings> settings_ = std::make_unique<LockableSettings>(*machine_);
  int next_ = 100;
};

TEST_F(WatchedSettings, ListenerReceivesChangesOfAnotherProcessAfterEachRegistration) {
  Listener listener;
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(settings_->SetNotifyTarget(&listener));
    ChangeOutside();
    ASSERT_TRUE(listener.notified.Wait(kPromptly));
    EXPECT_TRUE(EndsPromptly([&] { settings_->SetNotifyTarget(nullptr); }));
  }
  EXPECT_EQ(listener.changes, (std::vector<std::string>{"A=101", "A=102", "A=103"}));
}

TEST_F(WatchedSettings, InitUnderTheLockDoesNotWaitForAReload) {
  Listener listener;
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(settings_->SetNotifyTarget(&listener));
    EXPECT_TRUE(EndsPromptly([&] {
      const std::lock_guard lock(settings_->lock());
      ChangeOutside();
      EXPECT_TRUE(settings_->Init(endpoint_, mode_));
      EXPECT_TRUE(settings_->SetNotifyTarget(&listener));
      EXPECT_TRUE(settings_->SetNotifyTarget(nullptr));
    }));
  }
}

// A destructor that leaves the end of the watch to the base class fails under the thread sanitizer.
TEST_F(WatchedSettings, AreDestroyedWhileTheWatchThreadIsInTheListener) {
  auto settings = std::make_unique<ORVAPOGlobalSettings>(*machine_);
  ASSERT_TRUE(settings->InitGlobal(endpoint_));
  Event entered(Event::Kind::ManualReset);
  Event go_on(Event::Kind::ManualReset);
  Listener listener([&] {
    entered.Set();
    EXPECT_TRUE(go_on.Wait(kPromptly));
  });
  ASSERT_TRUE(settings->SetNotifyTarget(&listener));
  Store({{kProcessEnableControl, "0"}, {kMicMonitorEnableControl, "1"}}, kGlobalSettingsValue);
  ASSERT_TRUE(entered.Wait(kPromptly));
  std::thread destroyer([&] { settings.reset(); });
  go_on.Set();
  EXPECT_TRUE(EndsPromptly([&] { destroyer.join(); }));
}

TEST_F(WatchedSettings, ManyThreadsUseOneObject) {
  Listener listener;
  const std::function<void(int)> clients[] = {
      [&](int round) { settings_->WriteControl(ORVQVTValue("A", round)); },
      [&](int round) { settings_->SetNotifyTarget(round % 3 == 0 ? nullptr : &listener); },
      [&](int) { ChangeOutside(); }, [&](int) { settings_->Init(endpoint_, mode_); },
      [&](int round) {
        ORVQVTValueList list;
        settings_->ReadControls(list, true);
        if (round % 10 == 0) settings_->DeleteValue();
      }};
  EXPECT_TRUE(EndsPromptly([&] {
    std::vector<std::jthread> threads;
    for (const auto& client : clients)
      threads.emplace_back([&client] {
        for (int round = 1; round <= 100; ++round) client(round);
      });
  }));
  EXPECT_TRUE(EndsPromptly([&] { settings_->SetNotifyTarget(nullptr); }));
}

}  // namespace
}  // namespace orv
