#include "config/mode_selector.h"

#include <gtest/gtest.h>

#include <atomic>

#include "config/control_lists.h"
#include "simulated/simulated_machine.h"
#include "support/machine_registry.h"

namespace orv {
namespace {

constexpr wchar_t kSpeakersKey[] = L"Software\\Example\\Speakers";
constexpr wchar_t kHeadsetKey[] = L"Software\\Example\\Headset";
constexpr std::chrono::seconds kDeadline{30};

const ORVAPOModeKey kMovie = Key("Movie", "Internal");
const ORVAPOModeKey kMusic = Key("Music", "External");

ImageBytes StoredImage(Machine& machine, const std::wstring& path) {
  return GetBytes(*MachineKey(machine, path), ORVAPOModeSelector::kCurrentModeValue);
}

std::wstring CurrentMode(ORVAPOModeSelector& selector, bool expected_result) {
  ORVAPOModeKey key = Key("poison", "poison");
  EXPECT_EQ(selector.GetCurrentMode(key), expected_result);
  return key.GetModeName();
}

class Listener : public IORVModeNotify {
 public:
  void OnModeChanged() override {
    ++calls;
    called.Set();
  }
  Event called{Event::Kind::AutoReset};
  std::atomic<int> calls{0};
};

class ModeSelector : public testing::Test {
 protected:
  ModeSelector() {
    MachineKey(*machine_, kSpeakersKey);
    MachineKey(*machine_, kHeadsetKey);
  }
  // Another client of the same endpoint.
  void ChangeElsewhere(const std::wstring& path, const ORVAPOModeKey& mode) {
    ORVAPOModeSelector other(*machine_);
    ASSERT_TRUE(other.Init(path, Key("Unused", "Unused")));
    ASSERT_TRUE(other.SetCurrentMode(mode));
  }

  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
  ORVAPOModeSelector selector_{*machine_};
};

TEST_F(ModeSelector, DefaultIsCurrentUntilSomethingIsStored) {
  ASSERT_TRUE(selector_.Init(kSpeakersKey, kMovie));
  EXPECT_EQ(StoredImage(*machine_, kSpeakersKey), ImageBytes());
  EXPECT_EQ(CurrentMode(selector_, false), L"ApoOpMode:Movie/Internal");

  ASSERT_TRUE(selector_.SetCurrentMode(kMusic));
  {
    ORVAPOModeSelector later(*machine_);
    ASSERT_TRUE(later.Init(kSpeakersKey, kMovie));
    EXPECT_EQ(CurrentMode(later, true), L"ApoOpMode:Music/External");
  }
  EXPECT_EQ(machine_->faults().Calls("registry.notify"), 0U) << "watched for a listener only";

  machine_->faults().FailNth("registry.set_value", 1, kRegWriteFault);
  EXPECT_FALSE(selector_.SetCurrentMode(kMovie));
  EXPECT_EQ(CurrentMode(selector_, true), L"ApoOpMode:Music/External");

  EXPECT_TRUE(selector_.SetCurrentMode(ORVAPOModeKey()));
  EXPECT_EQ(CurrentMode(selector_, false), L"ApoOpMode:ZAPO3-Undefined/ZAPO3-Disabled");
  EXPECT_TRUE(selector_.DeleteStoredMode());
  EXPECT_FALSE(selector_.DeleteStoredMode());
  EXPECT_EQ(StoredImage(*machine_, kSpeakersKey), ImageBytes());
}

TEST_F(ModeSelector, StoredPartOfAKeyIsCompletedByTheDefault) {
  ImageBytes image;
  EncodeImage({{L"ZAPO3-Speaker Type", std::string("Dock")}, {L"Vendor", 1.5F}}, image);
  const auto key = MachineKey(*machine_, kSpeakersKey);
  key->SetValue(ORVAPOModeSelector::kCurrentModeValue, kRegSz, "x\0\0", 4);
  ASSERT_TRUE(selector_.Init(kSpeakersKey, kMovie));
  EXPECT_EQ(CurrentMode(selector_, false), L"ApoOpMode:Movie/Internal");  // no image: not read
  SetBytes(*key, ORVAPOModeSelector::kCurrentModeValue, image);
  ASSERT_TRUE(selector_.Init(kSpeakersKey, kMovie));
  ASSERT_TRUE(selector_.DeleteStoredMode());
  EXPECT_EQ(CurrentMode(selector_, false), L"ApoOpMode:Movie/Dock");
  ASSERT_TRUE(selector_.SetCurrentMode(kMusic));
  ORVPropertyList stored;
  DecodeImage(StoredImage(*machine_, kSpeakersKey), ImageReading::Replace, stored);
  EXPECT_EQ(stored.size(), 3U);  // what else was stored stays
}

TEST_F(ModeSelector, WithoutAKeyNothingIsWritten) {
  EXPECT_FALSE(selector_.SetCurrentMode(kMusic));
  EXPECT_FALSE(selector_.DeleteStoredMode());
  ASSERT_TRUE(selector_.Init(kSpeakersKey, kMovie));
  ASSERT_TRUE(selector_.SetCurrentMode(kMovie));
  const auto stored = StoredImage(*machine_, kSpeakersKey);

  for (const wchar_t* path : {L"Software\\Example\\Unplugged", L""}) {
    EXPECT_FALSE(selector_.Init(path, kMovie));
    EXPECT_FALSE(selector_.SetCurrentMode(kMusic));
    EXPECT_EQ(CurrentMode(selector_, false), L"ApoOpMode:Music/External");
  }
  EXPECT_EQ(StoredImage(*machine_, kSpeakersKey), stored);
}

TEST_F(ModeSelector, ListenerReceivesOwnAndForeignChangesUntilRemoved) {
  Listener listener;
  ASSERT_TRUE(selector_.Init(kSpeakersKey, kMovie));
  ASSERT_TRUE(selector_.SetNotifyTarget(&listener));
  ASSERT_TRUE(selector_.SetCurrentMode(kMusic));
  EXPECT_EQ(listener.calls, 2);  // one for each of the key's texts
  ASSERT_TRUE(selector_.SetCurrentMode(kMusic));
  EXPECT_EQ(listener.calls, 2);

  for (const wchar_t* path : {kSpeakersKey, kHeadsetKey}) {
    ASSERT_TRUE(selector_.Init(path, kMovie));
    listener.called.Reset();
    ChangeElsewhere(path, Key("Game", "Dock"));
    ASSERT_TRUE(listener.called.Wait(kDeadline));
    EXPECT_EQ(CurrentMode(selector_, true), L"ApoOpMode:Game/Dock");
  }
  ASSERT_TRUE(selector_.SetNotifyTarget(nullptr));
  const int calls = listener.calls;
  ASSERT_TRUE(selector_.SetCurrentMode(kMusic));
  EXPECT_EQ(listener.calls, calls);
}

TEST_F(ModeSelector, GetCurrentModeReportsAForeignChange) {
  Listener listener;
  ASSERT_TRUE(selector_.Init(kSpeakersKey, kMovie));
  ASSERT_TRUE(selector_.SetNotifyTarget(&listener));
  ChangeElsewhere(kSpeakersKey, kMusic);
  EXPECT_EQ(CurrentMode(selector_, true), L"ApoOpMode:Music/External");
  EXPECT_GE(listener.calls, 1);
  EXPECT_TRUE(selector_.SetNotifyTarget(nullptr));
}

}  // namespace
}  // namespace orv
