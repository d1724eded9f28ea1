#include "endpoints/settings.h"

#include <gmock/gmock.h>

#include <functional>
#include <thread>

#include "config/control_lists.h"
#include "platform/synchronization.h"
#include "support/diagnostic_log.h"
#include "support/endpoint_fixture.h"

namespace orv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

ORVAPOOperatingMode MakeMode(const ControlTexts& public_controls,
                             ControlTexts private_controls = {}) {
  private_controls.emplace_back(kOperatingModeControl, "Movie");
  private_controls.emplace_back(kSpeakerTypeControl, "Internal");
  ORVAPOOperatingMode mode;
  mode.own_content().public_controls = ListOf(public_controls);
  mode.own_content().private_controls = ListOf(private_controls);
  EXPECT_TRUE(mode.CompleteRead());
  return mode;
}

constexpr wchar_t kMovieValue[] = L"ApoOpMode:Movie/Internal";

class SettingsFixture : public ::testing::Test {
 protected:
  SettingsFixture() {
    machine_.AddSpeakers();
    endpoint_ = machine_.Record(kSpeakers);
  }
  void Store(const ControlTexts& texts, const std::wstring& name = kMovieValue) {
    ORVPropertyList list;
    for (const auto& [control, text] : texts)
      list.push_back({std::wstring(control.begin(), control.end()), text});
    machine_.SetImage(ApoKey(kSpeakers), name, list);
  }
  // What the registry value holds, in stored order.
  ControlTexts Stored(const std::wstring& name = kMovieValue) {
    ControlTexts texts;
    for (const ORVPropertyEntry& entry : machine_.Image(ApoKey(kSpeakers), name)) {
      const auto text = boost::any_cast<std::string>(entry.value);
      texts.emplace_back(std::string(entry.name.begin(), entry.name.end()), text);
    }
    return texts;
  }

  EndpointMachine machine_;
  ORVAPOEndpointInfo endpoint_{*machine_};
};

// Records its notifications as "name=text".
class ListenerLog : public IORVSettingsNotify {
 public:
  void OnSettingChanged(ORVAPOPublicSettings&, const ORVQVTValue& value) override {
    changes.push_back(value.GetName() + "=" + value.ToString());
  }
  std::vector<std::string> changes;
};

class PublicSettings : public SettingsFixture {
 protected:
  bool Init() { return settings_.Init(endpoint_, mode_); }
  ControlTexts Read() {
    ORVQVTValueList list;
    settings_.ReadControls(list, false);
    return Texts(list);
  }

  ORVAPOOperatingMode mode_ = MakeMode({{"A", "5"}, {"B", "6"}}, {{"P", "1"}});
  ORVAPOPublicSettings settings_{*machine_};
};

TEST_F(PublicSettings, StoredValuesReplaceConfiguredOnesOfTheSameControls) {
  Store({{"Z", "1"}, {"A", "7"}});
  EXPECT_TRUE(Init());
  EXPECT_THAT(Read(), ElementsAre(Pair("A", "7"), Pair("B", "6")));
  EXPECT_THAT(Stored(), ElementsAre(Pair("Z", "1"), Pair("A", "7")));

  EXPECT_TRUE(Init());
  Store({{"A", "8"}});  // comes too late for the binding
  EXPECT_TRUE(settings_.WriteControl(ORVQVTValue("B", 4)));
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "7"), Pair("B", "4")));
}

TEST_F(PublicSettings, WritingAPublicControlStoresTheWholeModeInOneWrite) {
  const DiagnosticLog log;
  ASSERT_TRUE(Init());
  EXPECT_FALSE(settings_.WriteControl(ORVQVTValue("P", 9)));
  EXPECT_TRUE(log.Contains(L"::Init | OK: " + ApoKey(kSpeakers) + L" found in registry\n"));
  EXPECT_TRUE(log.Contains(L"::WriteControl | WriteControl: Unable to get property P\n"));
  EXPECT_THAT(Stored(), IsEmpty());
  machine_->faults().Clear();
  EXPECT_TRUE(settings_.WriteControl(ORVQVTValue("A", 9)));
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "9"), Pair("B", "6")));
  EXPECT_EQ(machine_->faults().Calls("registry.set_value"), 1U);
}

TEST_F(PublicSettings, WithoutAKeyValuesStayInMemoryOnly) {
  ASSERT_TRUE(Init());
  ASSERT_TRUE(settings_.WriteControl(ORVQVTValue("A", 7)));
  machine_->faults().FailNth("registry.open_key", 1, kRegAccessDenied);
  const DiagnosticLog log;
  EXPECT_FALSE(Init());
  EXPECT_TRUE(log.Contains(L"::Init | Error: " + ApoKey(kSpeakers) + L" NOT found in registry\n"));
  EXPECT_FALSE(settings_.WriteControl(ORVQVTValue("A", 9)));
  EXPECT_FALSE(settings_.WriteControls(mode_.GetPublicControls()));
  EXPECT_FALSE(settings_.WriteDefaultControls());
  EXPECT_FALSE(settings_.DeleteValue());
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "7"), Pair("B", "6")));

  ORVQVTValueList list;
  list.GetOrAdd("kept") = ORVQVTValue("kept", 1);
  EXPECT_FALSE(settings_.ReadControls(list, false));
  EXPECT_EQ(list.Count(), 1U);
  EXPECT_FALSE(settings_.ReadDefaultControls(list, false));
  EXPECT_THAT(Texts(list), ElementsAre(Pair("A", "5"), Pair("B", "6"), Pair("P", "1")));
  EXPECT_FALSE(settings_.ReadControls(list, true));
  EXPECT_EQ(list.Count(), 0U);
}

TEST_F(PublicSettings, AFailedSaveLeavesTheStoredValueAndKeepsTheNewOneInMemory) {
  ASSERT_TRUE(Init());
  ASSERT_TRUE(settings_.WriteControl(ORVQVTValue("A", 9)));
  machine_->faults().FailNth("registry.set_value", 1, kRegWriteFault);
  EXPECT_FALSE(settings_.WriteControl(ORVQVTValue("A", 8)));
  EXPECT_FALSE(settings_.WriteControl(ORVQVTValue("B", boost::any(std::string()))));
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "9"), Pair("B", "6")));
  EXPECT_TRUE(settings_.WriteControl(ORVQVTValue("B", 4)));
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "8"), Pair("B", "4")));

  Read();
  machine_->faults().FailNth("registry.set_value", 1, kRegWriteFault);
  EXPECT_FALSE(settings_.WriteControl(ORVQVTValue("A", 1)));
  EXPECT_THAT(Read(),
              ElementsAre(Pair("A", "8"), Pair("B", "4")));  // from the same image as before
}

TEST_F(PublicSettings, ABatchAddsWhatTheSettingsLack) {
  ASSERT_TRUE(Init());
  EXPECT_TRUE(settings_.WriteControls(mode_.GetDefaultControls()));
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "5"), Pair("B", "6"), Pair("P", "1")));
  EXPECT_TRUE(settings_.WriteControl(ORVQVTValue("p", 2)));  // names ignore letter case
  EXPECT_THAT(Stored(), ElementsAre(Pair("A", "5"), Pair("B", "6"), Pair("P", "2")));
}

TEST_F(PublicSettings, ReadingReloadsWhatOthersStored) {
  ASSERT_TRUE(Init());
  ORVQVTValueList list;
  EXPECT_FALSE(settings_.ReadControls(list, true));  // nothing is stored yet
  EXPECT_THAT(Texts(list), ElementsAre(Pair("A", "5"), Pair("B", "6")));
  Store({{"A", "1"}, {"B", "2"}, {"C", "3"}});
  EXPECT_TRUE(settings_.ReadControls(list, true));
  EXPECT_THAT(Texts(list), ElementsAre(Pair("A", "1"), Pair("B", "2")));

  ORVQVTValueList only_b;
  only_b.GetOrAdd("B") = ORVQVTValue("B", 0);
  EXPECT_TRUE(settings_.ReadControls(only_b, false));
  EXPECT_THAT(Texts(only_b), ElementsAre(Pair("B", "2")));
  EXPECT_TRUE(settings_.ReadDefaultControls(list, true));
  EXPECT_THAT(Texts(list), ElementsAre(Pair("A", "5"), Pair("B", "6"), Pair("P", "1")));
}

TEST_F(PublicSettings, ABindingStartsFromItsModeAndWhatIsStoredForIt) {
  ASSERT_TRUE(Init());
  ASSERT_TRUE(settings_.WriteControl(ORVQVTValue("A", 9)));
  EXPECT_TRUE(settings_.WriteDefaultControls());  // saves the settings as they are
  EXPECT_TRUE(settings_.Init(endpoint_, MakeMode({{"C", "1"}})));
  EXPECT_THAT(Read(), ElementsAre(Pair("C", "1")));
  ASSERT_TRUE(Init());
  EXPECT_THAT(Read(), ElementsAre(Pair("A", "9"), Pair("B", "6")));
  EXPECT_TRUE(settings_.DeleteValue());
  EXPECT_FALSE(settings_.DeleteValue());
  ASSERT_TRUE(Init());
  EXPECT_THAT(Read(), ElementsAre(Pair("A", "5"), Pair("B", "6")));
}

TEST_F(PublicSettings, ListenerReceivesRealChangesAsControlValues) {
  ASSERT_TRUE(Init());
  ListenerLog log;
  EXPECT_TRUE(settings_.SetNotifyTarget(&log));
  settings_.WriteControl(ORVQVTValue("A", 5));
  settings_.WriteControl(ORVQVTValue("A", 9));
  settings_.WriteControls(mode_.GetDefaultControls());
  EXPECT_TRUE(settings_.SetNotifyTarget(nullptr));
  settings_.WriteControl(ORVQVTValue("B", 1));
  EXPECT_THAT(log.changes, ElementsAre("A=9", "A=5", "P=1"));
  EXPECT_TRUE(settings_.SetNotifyTarget(&log));
  ASSERT_TRUE(Init());  // removes the listener
  settings_.WriteControl(ORVQVTValue("A", 2));

  ORVPropertySet set;
  settings_.SetNotifyTarget(&log);
  settings_.OnPropertyChanged(set, {L"real", 0.5});
  settings_.OnPropertyChanged(set, {L"wide", std::wstring(L"text")});
  EXPECT_FALSE(settings_.OnPropertyChanging(set, {L"wide", std::wstring(L"text")}));
  settings_.SetNotifyTarget(nullptr);
  EXPECT_THAT(log.changes, ElementsAre("A=9", "A=5", "P=1", "wide=text"));
}

class GlobalSettings : public SettingsFixture {
 protected:
  ORVAPOGlobalSettings settings_{*machine_};
};

TEST_F(GlobalSettings, DefaultToProcessingWithoutMicrophoneMonitoringAndKeepWhatElseIsStored) {
  const auto both =
      ElementsAre(Pair(kMicMonitorEnableControl, "0"), Pair(kProcessEnableControl, "1"));
  ORVQVTValueList list;
  EXPECT_TRUE(settings_.InitGlobal(endpoint_));
  EXPECT_FALSE(settings_.ReadControls(list, true));
  EXPECT_THAT(Texts(list), both);

  Store({{"Extra", "x"}, {kProcessEnableControl, "0"}}, kGlobalSettingsValue);
  EXPECT_TRUE(settings_.InitGlobal(endpoint_));
  EXPECT_TRUE(settings_.WriteControl(ORVQVTValue(kMicMonitorEnableControl, 1)));
  EXPECT_THAT(Stored(kGlobalSettingsValue),
              ElementsAre(Pair(kMicMonitorEnableControl, "1"), Pair(kProcessEnableControl, "0"),
                          Pair("Extra", "x")));
  EXPECT_TRUE(settings_.ReadDefaultControls(list, true));
  EXPECT_THAT(Texts(list), both);
}

TEST_F(GlobalSettings, HaveNoModeAndSurviveAMissingKey) {
  EXPECT_FALSE(settings_.Init(endpoint_, MakeMode({{"A", "5"}})));
  ORVQVTValueList list;
  EXPECT_FALSE(settings_.ReadDefaultControls(list, true));
  EXPECT_EQ(list.Count(), 0U);
  EXPECT_FALSE(settings_.InitGlobal(ORVAPOEndpointInfo(*machine_)));
  EXPECT_FALSE(settings_.ReadDefaultControls(list, true));
  EXPECT_EQ(list.Count(), 2U);
}

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
  RecursiveMutex& lock() { return lock_; }
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
