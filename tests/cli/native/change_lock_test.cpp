#include "cli/client/change_lock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "cli/show/failure.h"
#include "support/temporary_folder.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

TEST(ChangeLock, HasOneHolderForEachKeyAndEndsWithAKilledProcess) {
  const TemporaryFolder folder;
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t holder = fork();
  if (holder == 0) {
    const ChangeLock lock(folder.path(), "SOFTWARE\\One");
    [[maybe_unused]] const auto written = write(ready[1], "x", 1);
    for (;;) pause();
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  const ChangeLock other(folder.path(), "SOFTWARE\\Other", 0ms);
  EXPECT_THROW(ChangeLock(folder.path(), "Software\\ONE", 20ms), Failure);
  kill(holder, SIGKILL);
  const ChangeLock lock(folder.path(), "SOFTWARE\\One", 10s);
}

}  // namespace
}  // namespace orv::cli
