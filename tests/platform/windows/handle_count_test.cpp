// Opening and closing many times leaves nothing behind.
#include "platform/files.h"
#include "platform/windows/windows_machine.h"
#include "support/footprint.h"
#include "support/machine_registry.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using namespace std::chrono_literals;

constexpr int kRounds = 10000;
// Slow on a busy machine; a tenth is enough to find a leak.
constexpr int kThreadRounds = 1000;
constexpr int kFileRounds = 200;

TEST(NothingIsLeftBehindBy, EventsAndNamedEvents) {
  WindowsMachine machine;
  const HANDLE named = ::CreateEventW(nullptr, FALSE, FALSE, L"Local\\OrvHandleCount");
  ASSERT_NE(named, nullptr);
  ExpectNothingLeftBehind(kRounds, [&] {
    Event event(Event::Kind::ManualReset);
    event.Set();
    std::uint32_t error = 0;
    machine.OpenNamedEvent(L"Local\\OrvHandleCount", error)->Set();
    EXPECT_EQ(machine.OpenNamedEvent(L"Local\\OrvNoSuchEvent", error), nullptr);
  });
  ::CloseHandle(named);
}

TEST(NothingIsLeftBehindBy, RegistryKeysTheirDuplicatesAndWatches) {
  constexpr wchar_t kPath[] = L"Software\\Orv Handle Count";
  WindowsMachine machine;
  Event changed(Event::Kind::AutoReset);
  ExpectNothingLeftBehind(kRounds, [&] {
    auto key = MachineKey(machine, kPath, RegRoot::CurrentUser);
    const auto duplicate = key->Duplicate();
    ASSERT_NE(duplicate, nullptr);
    EXPECT_EQ(duplicate->NotifyChange(false, kNotifyLastSet, changed), kRegOk);
    EXPECT_EQ(
        machine.registry().OpenKey(RegRoot::CurrentUser, L"Software\\Orv Absent", kKeyRead, key),
        kRegNotFound);
  });
  EXPECT_EQ(machine.registry().DeleteTree(RegRoot::CurrentUser, kPath), kRegOk);
}

TEST(NothingIsLeftBehindBy, DevicesAndTheirInterfaces) {
  // The class of disks. Seen on Wine 8.0: a list of devices holds no handle, so one that is not
  // closed shows on other systems only.
  constexpr GUID kDisks = {
      0x53F56307, 0xB6BF, 0x11D0, {0x94, 0xF2, 0x00, 0xA0, 0xC9, 0x1E, 0xFB, 0x8B}};
  WindowsMachine machine;
  ExpectNothingLeftBehind(kRounds, [&] {
    std::uint32_t error = 0;
    ASSERT_NE(machine.OpenDevice(L"\\\\.\\MountPointManager", error), nullptr) << error;
    EXPECT_EQ(machine.OpenDevice(L"\\\\.\\OrvNoSuchDevice", error), nullptr);
    machine.DeviceInterfaces(kDisks);
  });
}

TEST(NothingIsLeftBehindBy, ThreadsWaitedForAndThreadsDetached) {
  Event done(Event::Kind::AutoReset);
  ExpectNothingLeftBehind(kThreadRounds, [&] {
    const auto waited_for = Thread::Start([] { return 1U; });
    ASSERT_TRUE(waited_for && waited_for->Wait(30s));
    Thread::Start([&] {
      done.Set();
      return 2U;
    }).reset();
    ASSERT_TRUE(done.Wait(30s));
  });
}

TEST(NothingIsLeftBehindBy, FilesLocksAndFolderWatches) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "file";
  Event changed(Event::Kind::AutoReset);
  std::string reason;
  ExpectNothingLeftBehind(kFileRounds, [&] {
    ASSERT_TRUE(ReplaceFileContent(file, "content", reason)) << reason;
    EXPECT_TRUE(FileLock::Acquire(file, reason));
    EXPECT_TRUE(ReadWholeFile(file, 100, reason));
    EXPECT_FALSE(ReadWholeFile(folder.path() / "missing", 100, reason));
    EXPECT_TRUE(FolderWatch::Start(folder.path(), changed, reason));
  });
}

}  // namespace
}  // namespace orv
