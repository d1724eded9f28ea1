#include "platform/diagnostics.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/diagnostic_log.h"

namespace orv {
namespace {

TEST(Diagnostics, LineNamesItsOrigin) {
  const DiagnosticLog log;
  Diagnose({"file.cpp", 57, "Class::Method"}, L"value %d of %hs\n", 3, "list");
  Diagnose(ORV_HERE("Class::Other"), L"%% stays\n");
  const auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], L"file.cpp(57) | Class::Method | value 3 of list\n");
  EXPECT_TRUE(log.Contains(L"diagnostics_test.cpp("));
  EXPECT_TRUE(log.Contains(L" | Class::Other | % stays\n"));
}

TEST(Diagnostics, LongLineIsCut) {
  const DiagnosticLog log;
  Diagnose({"f", 1, "m"}, L"%s\n", std::wstring(20000, L'x'));
  Diagnose({"f", 1, std::string(20000, 'y').c_str()}, L"never seen\n");
  const auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], L"f(1) | m | " + std::wstring(16383 - 11, L'x'));
  EXPECT_EQ(lines[1].size(), 16383U);
}

TEST(Diagnostics, InnermostCaptureReceivesTheLine) {
  const DiagnosticLog outer;
  auto middle = std::make_unique<DiagnosticLog>();
  {
    const DiagnosticLog inner;
    Diagnose(ORV_HERE("A::B"), L"first\n");
    middle.reset();
    EXPECT_TRUE(inner.Contains(L"first"));
  }
  Diagnose(ORV_HERE("A::B"), L"second\n");
  EXPECT_EQ(outer.Lines().size(), 1U);
  EXPECT_TRUE(outer.Contains(L"second"));
}

TEST(Diagnostics, ListenersFailureAndOwnReportsDoNotReachTheReporter) {
  int calls = 0;
  const DiagnosticCapture capture([&calls](std::wstring_view) {
    ++calls;
    Diagnose(ORV_HERE("Listener"), L"received a line\n");
    throw std::runtime_error("listener");
  });
  Diagnose(ORV_HERE("A::B"), L"one\n");
  Diagnose(ORV_HERE("A::B"), L"two\n");
  EXPECT_EQ(calls, 2);
}

TEST(Diagnostics, ACaptureReceivesTheLinesOfManyThreadsOneAtATime) {
  bool inside = false;
  int whole_lines = 0;
  const DiagnosticCapture capture([&](std::wstring_view line) {
    EXPECT_FALSE(std::exchange(inside, true));
    whole_lines += line == L"f(1) | m | whole\n" ? 1 : 0;
    std::this_thread::yield();
    inside = false;
  });
  const auto report = [] {
    for (int n = 0; n < 2000; ++n) Diagnose({"f", 1, "m"}, L"whole\n");
  };
  std::thread other(report);
  report();
  other.join();
  EXPECT_EQ(whole_lines, 4000);
}

}  // namespace
}  // namespace orv
