#include <gmock/gmock.h>

#include <thread>

#include "platform/files.h"
#include "simulated/machine_folder.h"
#include "support/every_failure.h"

namespace orv {
namespace {

using testing::HasSubstr;

constexpr std::chrono::seconds kSoon(30);

constexpr std::string_view kExport =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "; a comment\r\n"
    "[HKEY_CLASSES_ROOT\\CLSID\\{1}]\r\n"
    "@=\"Class\"\r\n"
    "\r\n"
    "[HKEY_USERS\\.DEFAULT]\r\n"
    "\"kept\"=hex(b):01,02,03,04,05,06,07,08\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software\\Zeta]\r\n"
    "\"second\"=dword:00000002\r\n"
    "\"First\"=\"C:\\\\Tools\"\r\n";

TEST(RegistryFile, WritesReachTheNextMachineAndTheRestKeepsItsOrder) {
  const MachineFolder folder(kExport);
  {
    const auto machine = folder.Open();
    const auto key = MachineKey(*machine, L"software\\zeta");
    ASSERT_EQ(SetBytes(*key, L"new", {0xAB, 0xCD}), kRegOk);
    ASSERT_EQ(key->DeleteValue(L"second"), kRegOk);
    MachineKey(*machine, L"Software\\Empty");
  }
  EXPECT_EQ(folder.Read("registry.reg"),
            "Windows Registry Editor Version 5.00\r\n"
            "; change 3\r\n"
            "\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\CLSID\\{1}]\r\n"
            "@=\"Class\"\r\n"
            "\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zeta]\r\n"
            "\"First\"=\"C:\\\\Tools\"\r\n"
            "\"new\"=hex:ab,cd\r\n"
            "\r\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Empty]\r\n"
            "\r\n"
            "[HKEY_USERS\\.DEFAULT]\r\n"
            "\"kept\"=hex(b):01,02,03,04,05,06,07,08\r\n");
  const auto machine = folder.Open();
  EXPECT_EQ(GetBytes(*MachineKey(*machine, L"SOFTWARE\\Zeta"), L"NEW"),
            (std::vector<std::uint8_t>{0xAB, 0xCD}));
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(machine->registry().OpenKey(RegRoot::ClassesRoot, L"clsid\\{1}", kKeyRead, key),
            kRegOk);
}

TEST(RegistryFile, AFileKeepsItsEncodingAndItsLineEnds) {
  const std::string ascii = "Windows Registry Editor Version 5.00\n";
  std::string utf16 = "\xFF\xFE";
  for (const char character : ascii) (utf16 += character) += '\0';
  const MachineFolder folder(utf16);
  SetBytes(*MachineKey(*folder.Open(), L"K"), L"v", {1});
  const std::string written = folder.Read("registry.reg");
  EXPECT_TRUE(written.starts_with(utf16));
  EXPECT_EQ(written.find('\r'), std::string::npos);
  EXPECT_EQ(GetBytes(*MachineKey(*folder.Open(), L"K"), L"v"), std::vector<std::uint8_t>{1});
}

TEST(RegistryFile, SeparatesKeysWithACommonBeginningAndDeletedKeys) {
  const MachineFolder folder(
      "REGEDIT4\n[HKLM\\K\\L]\n\"v\"=hex:01\n[-HKLM\\K\\L]\n[HKLM\\K\\L]\n\"w\"=hex:02\n"
      "[HKLM\\KL]\n[HKLM\\k]\n\"x\"=hex:03\n");
  const auto machine = folder.Open();
  EXPECT_TRUE(HasKey(*machine, L"KL"));
  EXPECT_EQ(ValueNames(*MachineKey(*machine, L"K\\L")), std::vector<std::wstring>{L"w"});
  EXPECT_EQ(ValueNames(*MachineKey(*machine, L"K")), std::vector<std::wstring>{L"x"});
}

TEST(RegistryFile, AnEditByHandTakesEffectAndABrokenOneStopsOnlyWriting) {
  const MachineFolder folder(kExport);
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"Software\\Zeta");
  const std::string header = "Windows Registry Editor Version 5.00\r\n";
  folder.Write("registry.reg", header + "[HKLM\\Software\\Zeta]\r\n\"v\"=hex:07\r\n");
  EXPECT_EQ(GetBytes(*key, L"v"), std::vector<std::uint8_t>{7});
  EXPECT_EQ(key->DeleteValue(L"First"), kRegNotFound);

  const std::string broken = header + "[HKLM\\Software\\Zeta]\r\n\"v\"=hex:0\r\n\"w\"=\r\n";
  folder.Write("registry.reg", broken);
  EXPECT_EQ(GetBytes(*key, L"v"), std::vector<std::uint8_t>{7});
  EXPECT_EQ(SetBytes(*key, L"v", {8}), kRegWriteFault);
  EXPECT_EQ(folder.Read("registry.reg"), broken) << "the edit must survive";
  folder.Write("registry.reg", header + "[HKLM\\Software\\Zeta]\r\n\"v\"=hex:09\r\n");
  EXPECT_EQ(SetBytes(*key, L"w", {1}), kRegOk);
  EXPECT_EQ(GetBytes(*key, L"v"), std::vector<std::uint8_t>{9});
}

TEST(RegistryFile, OpenReportsTheNameAndLineOfARefusedFile) {
  const MachineFolder folder("REGEDIT4\n\n[HKLM\\K]\n\"v\"=\"no end\n");
  EXPECT_THAT(folder.Refusal().Text(),
              HasSubstr("registry.reg:4: the text has no closing quotation mark"));
  std::string deep;
  for (int i = 0; i < 512; ++i) deep += "\\k";
  folder.Write("registry.reg", "REGEDIT4\n\n[HKLM" + deep + "]\n");
  EXPECT_THAT(folder.Refusal().Text(), HasSubstr("registry.reg:3: the key is more than 512"));
  std::filesystem::remove(folder.path() / "registry.reg");
  EXPECT_THAT(folder.Refusal().Text(), HasSubstr("registry.reg: No such file"));
  folder.Write("machine.json", "{\n\"versio\": 1}");
  EXPECT_THAT(folder.Refusal().Text(), HasSubstr("machine.json:2: there is no key \"versio\""));
  std::filesystem::remove(folder.path() / "machine.json");
  EXPECT_THAT(folder.Refusal().Text(), HasSubstr("machine.json: No such file"));
}

TEST(RegistryFile, ExistingKeysAreFoundWhileAWriterHoldsTheLock) {
  const MachineFolder folder("REGEDIT4\n[HKLM\\K]\n\"v\"=hex:07\n");
  const auto machine = folder.Open();
  std::string reason;
  auto writer = FileLock::Acquire(folder.path() / ".registry.lock", reason);
  Event found(Event::Kind::ManualReset);
  std::thread reader([&] {
    EXPECT_EQ(GetBytes(*MachineKey(*machine, L"K"), L"v"), std::vector<std::uint8_t>{7});
    found.Set();
  });
  EXPECT_TRUE(found.Wait(kSoon));
  writer.reset();
  reader.join();
}

TEST(RegistryFile, AWriteRemovesTheTemporaryFileOfAKilledWriter) {
  const MachineFolder folder;
  folder.Write(".registry.reg.new", "half a fi");
  MachineKey(*folder.Open(), L"K");
  EXPECT_FALSE(std::filesystem::exists(folder.path() / ".registry.reg.new"));
}

TEST(RegistryFile, TwoWritersLoseNothingAndAWatchSeesTheFinalState) {
  const MachineFolder folder;
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"Software\\Shared");
  const auto bystander = MachineKey(*machine, L"Software\\Bystander");
  Event changed(Event::Kind::AutoReset);
  Event elsewhere(Event::Kind::AutoReset);
  ASSERT_EQ(bystander->NotifyChange(true, kNotifyLastSet | kNotifyName, elsewhere), kRegOk);
  constexpr std::uint8_t kCount = 200;
  const auto write = [&folder](const std::wstring& name) {
    const auto own_machine = folder.Open();
    const auto own_key = MachineKey(*own_machine, L"Software\\Shared");
    for (std::uint8_t i = 0; i < kCount; ++i)
      EXPECT_EQ(SetBytes(*own_key, name + std::to_wstring(i), {i}), kRegOk);
  };
  std::thread left(write, L"left");
  std::thread right(write, L"right");
  const auto complete = [&] {
    for (const wchar_t* writer : {L"left", L"right"})
      for (std::uint8_t i = 0; i < kCount; ++i)
        if (GetBytes(*key, writer + std::to_wstring(i)) != std::vector{i}) return false;
    return true;
  };
  do {
    EXPECT_EQ(key->NotifyChange(false, kNotifyLastSet, changed), kRegOk);
  } while (!complete() && changed.Wait(kSoon));
  left.join();
  right.join();
  EXPECT_TRUE(complete());
  EXPECT_FALSE(elsewhere.Wait(std::chrono::milliseconds(0))) << "only changed keys signal";
}

// What is stored survives a disk that refuses and memory that runs out. A key with more than twelve
// values has an index of them.
class RegistryFailureOfSize : public testing::TestWithParam<wchar_t> {};

TEST_P(RegistryFailureOfSize, AWriteThatFailsOnDiskChangesAndSignalsNothing) {
  const MachineFolder folder;
  const auto machine = folder.Open();
  const auto key = MachineKey(*machine, L"K\\L");
  std::vector<std::wstring> names;
  for (wchar_t name = L'a'; name <= GetParam(); ++name) {
    names.emplace_back(1, name);
    ASSERT_EQ(SetBytes(*key, names.back(), {1}), kRegOk);
  }
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

  EXPECT_EQ(ValueNames(*key), names);
  for (const wchar_t* name : {L"A", L"b"})
    EXPECT_EQ(GetBytes(*key, name), std::vector<std::uint8_t>{1});
  EXPECT_EQ(machine->registry().OpenKey(RegRoot::LocalMachine, L"K\\M", kKeyRead, created),
            kRegNotFound);
  EXPECT_EQ(folder.Read("registry.reg"), stored);
  EXPECT_FALSE(event.Wait(std::chrono::milliseconds(0)));
  machine->faults().Clear();
  EXPECT_EQ(SetBytes(*key, L"a", {2}), kRegOk);
}

INSTANTIATE_TEST_SUITE_P(Values, RegistryFailureOfSize, testing::Values(L'c', L'o'));

TEST(RegistryFailure, ARemovedFolderGivesAWriteFaultAndKeepsTheValues) {
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
  for (wchar_t name = L'a'; name <= L'l'; ++name)
    ASSERT_EQ(SetBytes(*key, std::wstring(1, name), {1}), kRegOk);
  const auto old = ValueNames(*key);
  WithEveryAllocationFailing(
      [&] {
        SetBytes(*key, L"a value's name of some length", {1, 2, 3});
      },
      [&](std::size_t nth) { EXPECT_EQ(ValueNames(*key), old) << nth; });
  EXPECT_EQ(GetBytes(*key, L"L"), std::vector<std::uint8_t>{1});
  std::unique_ptr<RegistryKey> created;
  WithEveryAllocationFailing(
      [&] {
        machine->registry().CreateKey(RegRoot::LocalMachine, L"K\\First\\Second\\Third", kKeyRead,
                                      created, nullptr);
      },
      [&](std::size_t nth) {
        EXPECT_EQ(HasKey(*machine, L"K\\First"), HasKey(*machine, L"K\\First\\Second\\Third"))
            << nth << ": made partially";
      });
}

TEST(RegistryFailure, LackOfMemoryDuringARefreshIsRepairedByTheNext) {
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
