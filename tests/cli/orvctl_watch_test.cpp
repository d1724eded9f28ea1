#include <boost/core/noncopyable.hpp>
#include <csignal>
#include <cstdio>

#include "cli/native/shell.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

// `orvctl watch` in a process of its own; its lines arrive as they are printed. Every reading ends
// at the latest when the program's own time is over.
class Watcher : boost::noncopyable {
 public:
  Watcher(const ProgramOnMachine& program, Arguments arguments) {
    arguments.insert(arguments.end(), {"--for", "60"});
    // The shell gives way to the program, so that its number is the program's.
    const std::string line =
        "echo $$; exec " + OrvctlCommandLine(program.Words(arguments)) + " 2>&1";
    pipe_ = popen(line.c_str(), "r");
    process_ = std::stoi(Line());
    EXPECT_EQ(Line().find("Watching "), 0U);
  }
  ~Watcher() {
    if (pipe_ != nullptr) End();
  }

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
  Watcher watcher(program, {"--json", "watch", "0", "--count", "4"});

  program.Answer({"set", "0", "VQ3D-DPHD Level", "11", "--mode", "Game/Internal"});
  Json control = watcher.Change();
  const std::string time = control["time"];
  EXPECT_EQ(time.size(), std::string("2026-01-31T12:34:56.789Z").size());
  control.erase("time");
  EXPECT_EQ(control, Json::parse(R"({"seq": 1, "endpoint": "Generic HD Audio Internal Speakers",
      "what": "control", "mode": "ApoOpMode:Game/Internal", "name": "VQ3D-DPHD Level", "from": 60,
      "to": 11, "from_text": "60 %", "to_text": "11 %", "unit": "%"})"));

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

TEST(OrvctlWatch, LinesNameTheEndpointAndBothValuesAndTheCommandGetsThem) {
  const ProgramOnMachine program;
  Watcher watcher(program,
                  {"--machine", std::filesystem::relative(program.machine()).string(), "watch",
                   "--count", "3", "--exec",
                   "cd / && test -d \"$ORV_MACHINE\" && echo "
                   "$ORV_SEQ/$ORV_ENDPOINT/$ORV_WHAT/$ORV_MODE/$ORV_NAME/$ORV_FROM/$ORV_TO/"
                   "$ORV_FROM_TEXT/$ORV_TO_TEXT; test $ORV_SEQ != 2"});
  const auto line = [&] { return watcher.Line().substr(sizeof "12:34:56" - 1); };

  program.Answer({"set", "0", "VQ3D-AEQ Bypass Gain", "-4.5dB"});
  EXPECT_EQ(line(),
            "  Generic HD Audio Internal Speakers  Movie/Internal  VQ3D-AEQ Bypass Gain: "
            "-3.0 dB -> -4.5 dB");
  EXPECT_EQ(watcher.Line(),
            "1/Generic HD Audio Internal Speakers/control/ApoOpMode:Movie/Internal/"
            "VQ3D-AEQ Bypass Gain/-30/-45/-3.0 dB/-4.5 dB");
  program.Answer({"enable", "1", "off"});
  EXPECT_EQ(line(), "  Generic HD Audio Headphones  enable: on -> off");
  EXPECT_EQ(watcher.Line(),
            "2/Generic HD Audio Headphones/switch//ZAPO3-Process Enable/true/false/on/off");
  EXPECT_EQ(watcher.Line(), "orvctl: --exec: the command ended with status 1 for change 2.");
  program.Answer({"enable", "1", "on"});
  EXPECT_EQ(line(), "  Generic HD Audio Headphones  enable: off -> on");
  watcher.Line();
  EXPECT_EQ(watcher.End(), 0);
}

TEST(OrvctlWatch, MachineThatCannotBeReadIsReportedUntilItCan) {
  const ProgramOnMachine program;
  const auto file = program.machine() / "registry.reg";
  program.Answer({"modes", "0"});
  const std::string whole = FileText(file);
  Watcher watcher(program, {"watch", "0", "--count", "1"});
  WriteText(file, "nothing of a registry");
  EXPECT_EQ(watcher.Line().find("orvctl: the machine in "), 0U);
  while (watcher.Line() != "Still watching.") continue;
  WriteText(file, whole);
  EXPECT_EQ(watcher.Line(), "The machine can be read again.");
  program.Answer({"set", "0", "VQ3D-DC Level", "11"});
  EXPECT_NE(watcher.Line().find("VQ3D-DC Level: 85 % -> 11 %"), std::string::npos);
  EXPECT_EQ(watcher.End(), 0);
}

TEST(OrvctlWatch, InterruptAndTimeLimitEndItCleanly) {
  const ProgramOnMachine program;
  Watcher watcher(program, {"watch", "0"});
  kill(watcher.process(), SIGINT);
  EXPECT_EQ(watcher.End(), 0);
  EXPECT_EQ(program.Run({"watch", "0", "--for", "0"}).status, 0);
}

}  // namespace
}  // namespace orv::cli
