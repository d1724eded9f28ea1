// Something else in the place of a file that a machine's folder should have.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "simulated/machine_folder.h"

namespace orv {
namespace {

using testing::EndsWith;

constexpr std::chrono::seconds kSoon(20);

TEST(UnusualFiles, FoldersAndPipesAreRefusedByTheirName) {
  for (const std::string name : {"registry.reg", "drivers.json", "machine.json"}) {
    const MachineFolder folder;
    std::filesystem::remove(folder.path() / name);
    std::filesystem::create_directory(folder.path() / name);
    EXPECT_THAT(folder.Refusal().Text(), EndsWith(name + ": Not a regular file"));
    std::filesystem::remove(folder.path() / name);
    ASSERT_EQ(::mkfifo((folder.path() / name).c_str(), 0600), 0);
    EXPECT_THAT(folder.Refusal().Text(), EndsWith(name + ": Not a regular file"));
  }
}

TEST(UnusualFiles, PipesDoNotKeepTheCallerWaiting) {
  const MachineFolder folder;
  std::filesystem::create_directory(folder.path() / "drive_c");
  for (const char* name : {".registry.lock", "drive_c/pipe.xml"})
    ASSERT_EQ(::mkfifo((folder.path() / name).c_str(), 0600), 0);
  const auto machine = folder.Open();
  EXPECT_EQ(SetBytes(*MachineKey(*machine, L"K"), L"v", {1}), kRegOk);
  EXPECT_EQ(machine->HostPath(L"C:\\pipe.xml"), std::nullopt);
  EXPECT_NE(machine->HostPath(L"C:\\missing.xml"), std::nullopt);
}

TEST(UnusualFiles, AWatchOutlastsAFolderInThePlaceOfItsFile) {
  const MachineFolder folder;
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"K");
  ASSERT_EQ(SetBytes(*key, L"v", {1}), kRegOk);
  Event changed(Event::Kind::AutoReset);
  ASSERT_EQ(key->NotifyChange(false, kNotifyLastSet, changed), kRegOk);
  const auto file = folder.path() / "registry.reg";
  const std::string content = folder.Read("registry.reg");
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  EXPECT_EQ(SetBytes(*key, L"v", {2}), kRegWriteFault);
  EXPECT_EQ(GetBytes(*key, L"v"), std::vector<std::uint8_t>{1});
  folder.Write("other", "wakes the watch");
  EXPECT_FALSE(changed.Wait(std::chrono::milliseconds(50)));
  std::filesystem::remove(file);
  folder.Write("registry.reg", content + "\"w\"=hex:03\r\n");
  EXPECT_TRUE(changed.Wait(kSoon));
  EXPECT_EQ(GetBytes(*key, L"w"), std::vector<std::uint8_t>{3});
}

TEST(UnusualFiles, LinkedFilesAreLockedAndWatchedWhereTheyAre) {
  const MachineFolder one("REGEDIT4\n", R"({"events": ["Changed"]})");
  const MachineFolder two("REGEDIT4\n", one.Read("machine.json"));
  const auto signal = [](SimulatedMachine& machine) {
    std::uint32_t error = 0;
    machine.OpenNamedEvent(L"Changed", error)->Set();
  };
  const TemporaryFolder elsewhere;
  std::filesystem::copy(one.path() / "registry.reg", elsewhere.path());
  for (const std::string name : {"registry.reg", "drivers.json"}) {  // the latter is still to come
    for (const MachineFolder* folder : {&one, &two}) std::filesystem::remove(folder->path() / name);
    for (const MachineFolder* folder : {&one, &two})
      std::filesystem::create_symlink(elsewhere.path() / name, folder->path() / name);
  }
  const auto machine = one.Open();
  const auto other = two.Open();
  const auto key = MachineKey(*machine, L"K");
  Event changed(Event::Kind::AutoReset);
  ASSERT_EQ(key->NotifyChange(false, kNotifyLastSet, changed), kRegOk);
  ASSERT_EQ(SetBytes(*MachineKey(*other, L"K"), L"v", {1}), kRegOk);
  EXPECT_TRUE(changed.Wait(kSoon));
  EXPECT_EQ(GetBytes(*key, L"v"), std::vector<std::uint8_t>{1});
  signal(*other);
  signal(*machine);
  EXPECT_EQ(other->EventSignals(L"Changed"), 2U);
  for (const char* lock : {".registry.lock", ".drivers.lock"})
    EXPECT_TRUE(std::filesystem::exists(elsewhere.path() / lock)) << lock;
  for (const char* name : {"registry.reg", "drivers.json"})
    EXPECT_TRUE(std::filesystem::is_symlink(two.path() / name)) << name;
}

}  // namespace
}  // namespace orv
