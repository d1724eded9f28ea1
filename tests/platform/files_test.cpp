#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace orv {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

constexpr auto kDeadline = 30s;
constexpr std::size_t kLimit = 1 << 20;

class Files : public ::testing::Test {
 protected:
  void Write(const std::string& name, std::string_view content) {
    std::ofstream(path() / name, std::ios::binary) << content;
  }
  std::optional<std::string> Read(const std::string& name) {
    return ReadWholeFile(path() / name, kLimit, reason);
  }
  std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path()))
      names.push_back(entry.path().filename().string());
    return names;
  }
  const std::filesystem::path& path() const { return folder_.path(); }

  std::string reason;

 private:
  TemporaryFolder folder_;
};

TEST_F(Files, StampMatchesTheUnchangedFileOnly) {
  const auto file = path() / "f";
  const FileStamp missing(file);
  EXPECT_TRUE(missing.Matches(file));
  Write("f", "one");
  EXPECT_FALSE(missing.Matches(file));
  const FileStamp one(file);
  for (const char* content : {"two", "six", "ten"}) {  // the places of old ones may be used again
    EXPECT_EQ(one.Matches(file), Read("f") == "one");
    ASSERT_TRUE(ReplaceFileContent(file, content, reason));
    EXPECT_FALSE(one.Matches(file)) << content;
  }
  const FileStamp ten(file);
  Write("f", "eleven");
  EXPECT_FALSE(ten.Matches(file));
  std::filesystem::remove(file);
  EXPECT_FALSE(ten.Matches(file));
}

TEST_F(Files, ReadsUpToTheLimitOrGivesTheReason) {
  const std::string content("line\r\n\0end", 10);
  Write("full", content);
  Write("empty", "");
  EXPECT_EQ(Read("empty"), "");
  EXPECT_EQ(ReadWholeFile(path() / "full", 10, reason), content);
  EXPECT_EQ(reason, "");
  EXPECT_EQ(ReadWholeFile(path() / "full", 9, reason), std::nullopt);
  EXPECT_EQ(reason, "Larger than 9 bytes");
  EXPECT_EQ(Read("missing"), std::nullopt);
  EXPECT_EQ(reason, "No such file or directory");
  std::filesystem::create_directory(path() / "folder");
  reason.clear();
  EXPECT_EQ(Read("folder"), std::nullopt);
  EXPECT_NE(reason, "");
}

TEST_F(Files, AreFoundBelowAFolderByNamesInUtf8) {
  // U+00F6, U+4E2D, U+97F3 and a character outside the first plane.
  const std::string folder = "M\xC3\xB6hre \xE4\xB8\xAD\xE9\x9F\xB3";
  const std::string file = "\xF0\x9F\x8E\xA7 Table.xml";
  std::filesystem::create_directory(path() / PathFromUtf8(folder));
  std::ofstream(path() / PathFromUtf8(folder) / PathFromUtf8(file)) << "found";
  for (const std::string& asked : {folder + "/" + file, "m\xC3\xB6HRE" + folder.substr(6) + "/" +
                                                            file.substr(0, 5) + "TABLE.XML"}) {
    const auto found = FindBelow(path(), asked);
    ASSERT_TRUE(found && found->exists) << asked;
    EXPECT_EQ(ReadWholeFile(found->path, kLimit, reason), "found");
  }
}

TEST_F(Files, ReplacementLeavesNothingBeside) {
  for (const std::string& content : {std::string("{}"), std::string(300000, 'x'), std::string()}) {
    EXPECT_TRUE(ReplaceFileContent(path() / "machine.json", content, reason));
    EXPECT_EQ(Read("machine.json"), content);
  }
  EXPECT_THAT(Names(), ElementsAre("machine.json"));
}

TEST_F(Files, RefusedReplacementChangesNothing) {
  std::filesystem::create_directory(path() / "target");
  Write("target/inside", "kept");
  EXPECT_FALSE(ReplaceFileContent(path() / "target", "new", reason));
  EXPECT_NE(reason, "");
  EXPECT_EQ(Read("target/inside"), "kept");
  EXPECT_THAT(Names(), ElementsAre("target"));
  reason.clear();
  EXPECT_FALSE(ReplaceFileContent(path() / "missing" / "file", "new", reason));
  EXPECT_EQ(reason, "No such file or directory");
}

TEST_F(Files, LockIsHeldUntilItsLastOwnerIsGone) {
  auto first = FileLock::Acquire(path() / ".lock", reason);
  ASSERT_TRUE(first);
  std::optional<FileLock> moved(std::move(*first));
  first.reset();

  Event asking(Event::Kind::ManualReset);
  Event held(Event::Kind::ManualReset);
  const auto other = Thread::Start([&] {
    std::string why;
    asking.Set();
    const auto lock = FileLock::Acquire(path() / ".lock", why);
    held.Set();
    return 0U;
  });
  ASSERT_TRUE(asking.Wait(kDeadline));
  EXPECT_FALSE(held.Wait(20ms));
  moved.reset();
  EXPECT_TRUE(held.Wait(kDeadline));
  EXPECT_TRUE(other->Wait(kDeadline));
  EXPECT_FALSE(FileLock::Acquire(path() / "missing" / ".lock", reason));
  EXPECT_EQ(reason, "No such file or directory");
}

TEST_F(Files, WatchSignalsEveryKindOfChange) {
  Write("old", "1");
  Event changed(Event::Kind::AutoReset);
  const auto watch = FolderWatch::Start(path(), changed, reason);
  ASSERT_TRUE(watch) << reason;
  EXPECT_FALSE(changed.Wait(0ms));
  Write("new", "1");
  EXPECT_TRUE(changed.Wait(kDeadline)) << "created";
  Write("old", "2");
  EXPECT_TRUE(changed.Wait(kDeadline)) << "written";
  ASSERT_TRUE(ReplaceFileContent(path() / "old", "3", reason));
  EXPECT_TRUE(changed.Wait(kDeadline)) << "replaced";
  std::filesystem::remove(path() / "old");
  EXPECT_TRUE(changed.Wait(kDeadline)) << "deleted";
}

TEST_F(Files, WatchPassesOverLocksAndTemporaryFiles) {
  Event changed(Event::Kind::AutoReset);
  const auto watch = FolderWatch::Start(path(), changed, reason);
  ASSERT_TRUE(watch) << reason;
  ASSERT_TRUE(FileLock::Acquire(path() / "lock", reason));
  Write(".hidden", "1");
  std::filesystem::remove(path() / ".hidden");
  EXPECT_FALSE(changed.Wait(50ms));
}

TEST_F(Files, StoppedWatchIsSilentAndAMissingFolderRefused) {
  Event changed(Event::Kind::AutoReset);
  FolderWatch::Start(path(), changed, reason).reset();
  Write("late", "1");
  EXPECT_FALSE(changed.Wait(20ms));
  EXPECT_EQ(FolderWatch::Start(path() / "missing", changed, reason), nullptr);
  EXPECT_EQ(reason, "No such file or directory");
}

}  // namespace
}  // namespace orv
