#include <csignal>
#include <cstdio>

#include "cli/native/shell.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

// `orvctl watch` in a process of its own; its lines arrive as they are printed. Every reading ends
// at the latest when the program's own time is over.
class Watcher {
 public:
  Watcher(const ProgramOnMachine& program, const std::string& count) {
    // The shell gives way to the program, so that its number is the program's.
    const std::string line = "echo $$; exec " +
                             OrvctlCommandLine(program.Words(
                                 {"--json", "watch", "0", "--count", count, "--for", "60"})) +
                             " 2>&1";
    pipe_ = popen(line.c_str(), "r");
    process_ = std::stoi(Line());
    EXPECT_EQ(Line().find("Watching "), 0U);
  }
  ~Watcher() {
    if (pipe_ != nullptr) End();
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  std::string Line() {
    std::string line;
    for (int c = std::fgetc(pipe_); c != EOF && c != '\n'; c = std::fgetc(pipe_))
      line += static_cast<char>(c);
    return line;
  }
  Json Change() { return Json::parse(Line(), nullptr, false); }
  int process() const noexcept { return process_; }
  int End() {
    const int status = pclose(pipe_);
    pipe_ = nullptr;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  FILE* pipe_ = nullptr;
  int process_ = 0;
};

TEST(OrvctlWatch, EveryChangeOfAnotherProcessIsPrintedInItsOrder) {
  const ProgramOnMachine program;
  Watcher watcher(program, "4");

  program.Answer({"set", "0", "VQ3D-DPHD Level", "11", "--mode", "Game/Internal"});
  Json control = watcher.Change();
  const std::string time = control["time"];
  EXPECT_EQ(time.size(), std::string("2026-01-31T12:34:56.789Z").size());
  control.erase("time");
  control.erase("from");
  EXPECT_EQ(control, Json::parse(R"({"seq": 1, "what": "control", "mode": "ApoOpMode:Game/Internal",
                                     "name": "VQ3D-DPHD Level", "to": 11})"));

  program.Answer({"mode", "0", "Voice"});
  const Json mode = watcher.Change();
  EXPECT_EQ(mode["what"], "mode");
  EXPECT_EQ(mode["to"], "ApoOpMode:Voice/Internal");

  program.Answer({"enable", "0", "off"});
  EXPECT_EQ(watcher.Change()["what"], "switch");

  program.Answer({"set", "0", "VQ3D-DPHD Level", "12", "--mode", "Game/Internal"});
  const Json last = watcher.Change();
  EXPECT_EQ(last["seq"], 4);
  EXPECT_EQ(last["from"], 11);
  EXPECT_EQ(watcher.End(), 0);
}

TEST(OrvctlWatch, InterruptAndTimeLimitEndItCleanly) {
  const ProgramOnMachine program;
  Watcher watcher(program, "1");
  kill(watcher.process(), SIGINT);
  EXPECT_EQ(watcher.End(), 0);
  EXPECT_EQ(program.Run({"watch", "0", "--for", "0"}).status, 0);
}

}  // namespace
}  // namespace orv::cli
