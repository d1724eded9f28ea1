// What is opened and closed many times leaves no handle behind.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>

#include "platform/files.h"
#include "platform/windows/windows_machine.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

using namespace std::chrono_literals;

constexpr int kRounds = 10000;
// Slow on a busy machine, and a tenth tells a leak as well.
constexpr int kThreadRounds = 1000;
constexpr int kFileRounds = 200;
constexpr std::uintptr_t kSlack = 50;  // handles that the system's own libraries open on the way

// Handles are numbered by fours, the lowest free number first, so that a new one tells how many are
// open. (The count that the system offers, GetProcessHandleCount, is always 0 on Wine 8.0.)
std::uintptr_t HandleLevel() {
  const Event event(Event::Kind::AutoReset);
  return static_cast<std::uintptr_t>(event.native()) / 4;
}

void ExpectNoneLeftBehind(const std::function<void()>& round, int rounds = kRounds) {
  for (int i = 0; i < 10; ++i) round();
  const std::uintptr_t before = HandleLevel();
  for (int i = 0; i < rounds && !testing::Test::HasFatalFailure(); ++i) round();
  EXPECT_LT(HandleLevel(), before + kSlack);
}

TEST(HandleLevel, RisesWithWhatIsOpen) {
  const std::uintptr_t before = HandleLevel();
  std::vector<std::unique_ptr<Event>> open;
  for (int i = 0; i < 200; ++i) open.push_back(std::make_unique<Event>(Event::Kind::AutoReset));
  EXPECT_GE(HandleLevel(), before + 200 - kSlack);
}

TEST(NoHandleIsLeftBehindBy, EventsAndNamedEvents) {
  WindowsMachine machine;
  const HANDLE named = ::CreateEventW(nullptr, FALSE, FALSE, L"Local\\OrvHandleCount");
  ASSERT_NE(named, nullptr);
  ExpectNoneLeftBehind([&] {
    Event event(Event::Kind::ManualReset);
    event.Set();
    std::uint32_t error = 0;
    machine.OpenNamedEvent(L"Local\\OrvHandleCount", error)->Set();
    EXPECT_EQ(machine.OpenNamedEvent(L"Local\\OrvNoSuchEvent", error), nullptr);
  });
  ::CloseHandle(named);
}

TEST(NoHandleIsLeftBehindBy, RegistryKeysTheirDuplicatesAndWatches) {
  constexpr wchar_t kPath[] = L"Software\\Orv Handle Count";
  WindowsMachine machine;
  Event changed(Event::Kind::AutoReset);
  ExpectNoneLeftBehind([&] {
    std::unique_ptr<RegistryKey> key;
    ASSERT_EQ(machine.registry().CreateKey(RegRoot::CurrentUser, kPath, kKeyRead | kKeyWrite, key,
                                           nullptr),
              kRegOk);
    const auto duplicate = key->Duplicate();
    ASSERT_NE(duplicate, nullptr);
    EXPECT_EQ(duplicate->NotifyChange(false, kNotifyLastSet, changed), kRegOk);
    EXPECT_EQ(
        machine.registry().OpenKey(RegRoot::CurrentUser, L"Software\\Orv Absent", kKeyRead, key),
        kRegNotFound);
  });
  EXPECT_EQ(machine.registry().DeleteTree(RegRoot::CurrentUser, kPath), kRegOk);
}

TEST(NoHandleIsLeftBehindBy, ThreadsWaitedForAndThreadsLetGo) {
  Event done(Event::Kind::AutoReset);
  ExpectNoneLeftBehind(
      [&] {
        const auto waited_for = Thread::Start([] { return 1U; });
        ASSERT_TRUE(waited_for && waited_for->Wait(30s));
        Thread::Start([&] {
          done.Set();
          return 2U;
        }).reset();
        ASSERT_TRUE(done.Wait(30s));
      },
      kThreadRounds);
}

TEST(NoHandleIsLeftBehindBy, FilesLocksAndFolderWatches) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "file";
  Event changed(Event::Kind::AutoReset);
  std::string reason;
  ExpectNoneLeftBehind(
      [&] {
        ASSERT_TRUE(ReplaceFileContent(file, "content", reason)) << reason;
        EXPECT_TRUE(FileLock::Acquire(file, reason));
        EXPECT_TRUE(ReadWholeFile(file, 100, reason));
        EXPECT_FALSE(ReadWholeFile(folder.path() / "missing", 100, reason));
        EXPECT_TRUE(FolderWatch::Start(folder.path(), changed, reason));
      },
      kFileRounds);
}

}  // namespace
}  // namespace orv
