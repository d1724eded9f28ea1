// Features of the native build's process services only.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "platform/diagnostics.h"
#include "platform/dynamic_library.h"
#include "platform/files.h"
#include "platform/host_path.h"
#include "platform/synchronization.h"
#include "platform/text.h"
#include "platform/wide_format.h"
#include "support/locale.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

TEST(DebugOutputDeathTest, LinesGoToTheFileOfTheEnvironment) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process reads the variable
  const auto report_and_leave = [] {
    Diagnose({"f", 1, "m"}, L"Kopfh\x00F6rer \xD83C\xDFA7\n");
    std::_Exit(0);
  };
  ::setenv("ORV_DIAGNOSTICS", "stderr", 1);
  EXPECT_EXIT(report_and_leave(), ::testing::ExitedWithCode(0),
              "^f\\(1\\) \\| m \\| Kopfh\xC3\xB6rer \xF0\x9F\x8E\xA7\n$");

  // The new process runs this too and must name the same file.
  const TemporaryFolder folder;
  const std::string file = (folder.path() / "lines.log").string();
  if (std::getenv("ORV_TEST_LOG") == nullptr) ::setenv("ORV_TEST_LOG", file.c_str(), 1);
  ::setenv("ORV_DIAGNOSTICS", std::getenv("ORV_TEST_LOG"), 1);
  EXPECT_EXIT(report_and_leave(), ::testing::ExitedWithCode(0), "^$");
  EXPECT_EXIT(report_and_leave(), ::testing::ExitedWithCode(0), "^$");
  std::string reason;
  const std::string line = "f(1) | m | Kopfh\xC3\xB6rer \xF0\x9F\x8E\xA7\n";
  EXPECT_EQ(ReadWholeFile(file, 1000, reason), line + line);
  ::unsetenv("ORV_DIAGNOSTICS");
  ::unsetenv("ORV_TEST_LOG");
}

TEST(TerminatedThread, LeavesEverySignalToTheHost) {
  const auto thread = Thread::Start([] {
    std::this_thread::sleep_for(std::chrono::hours(1));
    return 0U;
  });
  ASSERT_TRUE(thread && thread->Terminate(1));
  for (int number = SIGRTMIN; number <= SIGRTMAX; ++number) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL) << number;
  }
}

// A file may grow to `bytes` and no further while this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    ::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_{};
  sighandler_t handler_ = ::signal(SIGXFSZ, SIG_IGN);
};

class Replacement : public ::testing::Test {
 protected:
  TemporaryFolder folder;
  std::filesystem::path file = folder.path() / "shared.reg";
  std::string reason;
};

TEST_F(Replacement, ThatRunsOutOfRoomKeepsTheOldContent) {
  ASSERT_TRUE(ReplaceFileContent(file, "old", reason));
  bool replaced = true;
  {
    const FileSizeLimit limit(1000);
    replaced = ReplaceFileContent(file, std::string(5000, 'n'), reason);
  }
  EXPECT_FALSE(replaced);
  EXPECT_EQ(reason, "File too large");
  EXPECT_EQ(ReadWholeFile(file, 100, reason), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(Replacement, KeepsPermissionsAndLinks) {
  const auto link = folder.path() / "registry.reg";
  ASSERT_TRUE(ReplaceFileContent(file, "old", reason));
  std::filesystem::permissions(file, std::filesystem::perms(0640));
  std::filesystem::create_symlink("shared.reg", link);
  ASSERT_TRUE(ReplaceFileContent(link, "new", reason));
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ReadWholeFile(file, 100, reason), "new");
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
}

TEST(ThreadStart, ThatTheSystemRefusesGivesNull) {
  pthread_attr_t before;
  pthread_attr_t huge;
  ASSERT_EQ(::pthread_getattr_default_np(&before), 0);
  ASSERT_EQ(::pthread_attr_init(&huge), 0);
  ASSERT_EQ(::pthread_attr_setstacksize(&huge, std::size_t{1} << 46), 0);
  ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
  const auto thread = Thread::Start([] { return 0U; });
  ASSERT_EQ(::pthread_setattr_default_np(&before), 0);
  EXPECT_EQ(thread, nullptr);
  ::pthread_attr_destroy(&huge);
  ::pthread_attr_destroy(&before);
}

TEST(ThreadStart, LeavesTheHostsSignalsToTheHost) {
  sigset_t blocked;
  ::sigemptyset(&blocked);
  sigset_t own;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &own);
  const auto thread = Thread::Start([&blocked] {
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return 0U;
  });
  ASSERT_TRUE(thread && thread->Wait(std::chrono::seconds(30)));
  for (const int number : {SIGINT, SIGTERM, SIGCHLD, SIGALRM})
    EXPECT_TRUE(::sigismember(&blocked, number)) << number;
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT})
    EXPECT_FALSE(::sigismember(&blocked, number)) << number;
  sigset_t after;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &after);
  EXPECT_EQ(::sigismember(&after, SIGINT), ::sigismember(&own, SIGINT));
}

TEST(Module, IsLoadedReportsItsPathAndIsFreed) {
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  const std::wstring path = DriveZPath(program.native());
  EXPECT_EQ(HostProgramPath(), path);
  EXPECT_EQ(OwnModulePath(), path);

  DynamicLibrary module;
  EXPECT_EQ(module.Find("OwnPath"), nullptr);
  ASSERT_TRUE(module.Load((program.parent_path() / ORV_SAMPLE_MODULE).string()));
  EXPECT_EQ(module.Find("NoSuchSymbol"), nullptr);
  DynamicLibrary other(std::move(module));
  EXPECT_FALSE(module.loaded());
  const auto ask = reinterpret_cast<const wchar_t* (*)()>(other.Find("OwnPath"));
  ASSERT_NE(ask, nullptr);
  EXPECT_EQ(ask(), RemoveLastPathElement(path) + L'\\' + WideFromUtf8(ORV_SAMPLE_MODULE));
  module = std::move(other);
  EXPECT_TRUE(module.loaded());
  EXPECT_FALSE(module.Load("/proc/self/cmdline"));
  EXPECT_FALSE(module.loaded());
  // A bare name means a file, never one of the system's libraries.
  EXPECT_FALSE(module.Load("libc.so.6"));
}

// An audio jack's name: a two-byte, a three-byte and a four-byte character.
constexpr char kUtf8[] = "Kopfh\xC3\xB6rer \xE2\x82\xAC \xF0\x9F\x8E\xA7";
constexpr wchar_t kWide[] = L"Kopfh\x00F6rer \x20AC \xD83C\xDFA7";

TEST(Utf8Locale, ConvertsSurrogatePairsBothWaysAndGivesEmptyTextForTheRest) {
  const Locale locale("C.UTF-8");
  ASSERT_TRUE(locale.known);
  EXPECT_EQ(Widen(kUtf8), kWide);
  EXPECT_EQ(Narrow(kWide), kUtf8);
  for (const char* broken : {"good \xFF", "cut \xE2\x82"}) EXPECT_EQ(Widen(broken), L"") << broken;
  for (const wchar_t* broken : {L"half a pair \xD83C", L"the other half \xDFA7"})
    EXPECT_EQ(Narrow(broken), "");
  EXPECT_EQ(Narrow(std::wstring(1, static_cast<wchar_t>(WCHAR_MAX))), "");
  wchar_t line[64];
  EXPECT_EQ(FormatWide(line, 64, L"%hs", {"a\xFF\xC3\xB6\xF0\x9F\x8E\xA7"}), 5U);
  EXPECT_STREQ(line, L"a\x00FF\x00F6\xD83C\xDFA7");
}

// Lookup without regard to letter case, where the file system itself has regard to it.
class PathLookup : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(path() / "Program Files" / "Tools");
    for (const char* name : {"Table.xml", "TABLE.XML"})
      std::ofstream(path() / "Program Files" / "Tools" / name) << "";
  }
  // What FindBelow found, relative to the folder; "-" before what does not exist.
  std::string Found(std::string_view relative) {
    const auto found = FindBelow(path(), relative);
    if (!found) return "outside";
    const auto below = found->path.lexically_relative(path()).generic_string();
    return found->exists ? below : "-" + below;
  }
  const std::filesystem::path& path() const { return folder_.path(); }

 private:
  TemporaryFolder folder_;
};

TEST_F(PathLookup, PrefersTheExactSpellingAndStaysBelowTheFolder) {
  const std::pair<const char*, const char*> cases[] = {
      {"Program Files/Tools/Table.xml", "Program Files/Tools/Table.xml"},
      {"program files/TOOLS/Table.xml", "Program Files/Tools/Table.xml"},
      {"program files/tools/table.XML", "Program Files/Tools/TABLE.XML"},
      {"PROGRAM FILES/New/Table.xml", "-Program Files/New/Table.xml"},
      {"program files/tools/table.xml/More", "-Program Files/Tools/TABLE.XML/More"},
      {"../x", "outside"},
      {"Program Files/../../x", "outside"},
      {"/program files//./other/../tools/", "Program Files/Tools"},
      {"", "."}};
  for (const auto& [relative, found] : cases) EXPECT_EQ(Found(relative), found) << relative;
  std::filesystem::create_directory(path() / "program files");
  EXPECT_EQ(Found("program files"), "program files");
}

}  // namespace
}  // namespace orv
