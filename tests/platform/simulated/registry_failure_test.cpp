// What is stored survives a disk that refuses and memory that runs out.

#include <gmock/gmock.h>

#include "platform/simulated/machine_folder.h"
#include "support/every_failure.h"

namespace orv {
namespace {

using testing::ElementsAre;

TEST(RegistryFailure, AWriteThatFailsOnDiskChangesNothingAndSignalsNobody) {
  const MachineFolder folder;
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"K\\L");
  for (const wchar_t* name : {L"a", L"b", L"c"}) ASSERT_EQ(SetBytes(*key, name, {1}), kRegOk);
  const std::string stored = folder.Read("registry.reg");
  Event event(Event::Kind::AutoReset);
  ASSERT_EQ(key->NotifyChange(true, kNotifyName | kNotifyLastSet, event), kRegOk);

  machine->faults().FailAlways("registry.save", 1);
  EXPECT_EQ(SetBytes(*key, L"a", {2}), kRegWriteFault);
  EXPECT_EQ(SetBytes(*key, L"new", {2}), kRegWriteFault);
  EXPECT_EQ(key->DeleteValue(L"b"), kRegWriteFault);
  std::unique_ptr<RegistryKey> created;
  EXPECT_EQ(
      machine->registry().CreateKey(RegRoot::LocalMachine, L"K\\M\\N", kKeyRead, created, nullptr),
      kRegWriteFault);
  EXPECT_EQ(created, nullptr);
  EXPECT_EQ(machine->registry().DeleteTree(RegRoot::LocalMachine, L"K"), kRegWriteFault);
  FileError error;
  EXPECT_FALSE(machine->ImportRegistry("REGEDIT4\n[-HKLM\\K]\n", error));

  EXPECT_THAT(ValueNames(*key), ElementsAre(L"a", L"b", L"c"));
  EXPECT_EQ(GetBytes(*key, L"a"), std::vector<std::uint8_t>{1});
  EXPECT_EQ(machine->registry().OpenKey(RegRoot::LocalMachine, L"K\\M", kKeyRead, created),
            kRegNotFound);
  EXPECT_EQ(folder.Read("registry.reg"), stored);
  EXPECT_FALSE(event.Wait(std::chrono::milliseconds(0)));
  machine->faults().Clear();
  EXPECT_EQ(SetBytes(*key, L"a", {2}), kRegOk);
}

TEST(RegistryFailure, AFolderThatIsGoneAnswersAWriteFaultAndKeepsTheValues) {
  const MachineFolder folder;
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"K");
  ASSERT_EQ(SetBytes(*key, L"v", {1}), kRegOk);
  std::filesystem::remove_all(folder.path());
  EXPECT_EQ(SetBytes(*key, L"v", {2}), kRegWriteFault);
  EXPECT_EQ(GetBytes(*key, L"v"), std::vector<std::uint8_t>{1});
}

TEST(RegistryFailure, LackOfMemoryLeavesKeysAndValuesAsTheyWere) {
  const auto machine = SimulatedMachine::InMemory();
  const auto key = MachineKey(*machine, L"K");
  ASSERT_EQ(SetBytes(*key, L"old", {1}), kRegOk);
  WithEveryAllocationFailing(
      [&] {
        SetBytes(*key, L"a value's name of some length", {1, 2, 3});
      },
      [&](std::size_t nth) { EXPECT_THAT(ValueNames(*key), ElementsAre(L"old")) << nth; });
  std::unique_ptr<RegistryKey> created;
  WithEveryAllocationFailing(
      [&] {
        machine->registry().CreateKey(RegRoot::LocalMachine, L"K\\First\\Second\\Third", kKeyRead,
                                      created, nullptr);
      },
      [&](std::size_t nth) {
        EXPECT_EQ(HasKey(*machine, L"K\\First"), HasKey(*machine, L"K\\First\\Second\\Third"))
            << nth << ": made by halves";
      });
}

TEST(RegistryFailure, LackOfMemoryWhileTakingOverAChangeIsMadeGoodLater) {
  const MachineFolder folder;
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"K");
  const auto others = MachineKey(*folder.Open(), L"K");
  std::uint8_t number = 1;
  ASSERT_EQ(SetBytes(*others, L"v", {number}), kRegOk);
  WithEveryAllocationFailing([&] { GetBytes(*key, L"v"); },
                             [&](std::size_t nth) {
                               ASSERT_EQ(GetBytes(*key, L"v"), std::vector{number}) << nth;
                               ASSERT_EQ(SetBytes(*others, L"v", {++number}), kRegOk);
                             });
  EXPECT_GT(number, 10) << "taking a change over allocates";
}

TEST(DriverFailure, LackOfMemoryWhileReadingTheMemoryDoesNotOutlastItsFile) {
  const MachineFolder folder("REGEDIT4\n", R"({"events": ["Changed"]})");
  const auto machine = folder.Open();
  std::uint32_t error = 0;
  const auto event = machine->OpenNamedEvent(L"Changed", error);
  const auto change = [&] {
    event->Set();
    folder.Write("drivers.json", folder.Read("drivers.json") + "\n");
  };
  change();
  WithEveryAllocationFailing([&] { machine->EventSignals(L"Changed"); },
                             [&](std::size_t nth) {
                               ASSERT_TRUE(std::filesystem::remove(folder.path() / "drivers.json"));
                               change();
                               ASSERT_EQ(machine->EventSignals(L"Changed"), 1U) << nth;
                             });
}

}  // namespace
}  // namespace orv
