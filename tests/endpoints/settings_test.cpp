#include "endpoints/settings.h"

#include <gmock/gmock.h>

#include "settings_fixture.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

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

}  // namespace
}  // namespace orv
