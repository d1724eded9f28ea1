#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <boost/core/noncopyable.hpp>
#include <csignal>
#include <cstring>

#include "cli/client/session.h"
#include "cli/native/shell.h"
#include "cli/orvctl_program.h"
#include "cli/show/analysis_view.h"

namespace orv::cli {
namespace {

// A terminal with orvctl running in it.
class LiveProgram : boost::noncopyable {
 public:
  LiveProgram(const ProgramOnMachine& program, const Arguments& arguments,
              const std::string& before = "TERM=xterm exec", const std::string& after = "") {
    winsize size{30, 100, 0, 0};
    process_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (process_ == 0) {
      const std::string line = before + " " + OrvctlCommandLine(program.Words(arguments)) + after;
      execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
      _exit(127);
    }
    EXPECT_GT(process_, 0);
    before_ = Settings();
  }
  ~LiveProgram() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
    close(terminal_);
  }

  // What appears up to and with this text; everything up to the end when it does not come.
  std::string ReadUntil(const std::string& text) {
    std::string seen;
    pollfd ready{terminal_, POLLIN, 0};
    char byte = 0;
    while (!seen.ends_with(text) && poll(&ready, 1, 20000) == 1 && read(terminal_, &byte, 1) == 1)
      seen += byte;
    return seen;
  }
  void Resize(unsigned short rows, unsigned short columns) const {
    winsize size{rows, columns, 0, 0};
    ioctl(terminal_, TIOCSWINSZ, &size);
  }
  void Type(char key) const { EXPECT_EQ(write(terminal_, &key, 1), 1); }
  void Signal(int signal) const { EXPECT_EQ(kill(process_, signal), 0); }
  // The exit status as a shell has it.
  int End() {
    int status = -1;
    EXPECT_EQ(waitpid(process_, &status, 0), process_);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  termios Settings() const {
    termios settings{};
    EXPECT_EQ(tcgetattr(terminal_, &settings), 0);
    return settings;
  }
  const termios& before() const noexcept { return before_; }

 private:
  int terminal_ = -1;
  pid_t process_ = -1;
  termios before_{};
};

TEST(OrvctlAnalyse, WithoutATerminalItPrintsPlainLines) {
  const ProgramOnMachine program;
  const Result result = program.Run({"analyse", "0", "--for", "0.2"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output.rfind("L -", 0), 0U) << "the levels by the end: " << result.output;
  EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
  LiveProgram dumb(program, {"analyse", "0", "--for", "0.2"}, "TERM=dumb exec");
  const std::string seen = dumb.ReadUntil("\n");
  EXPECT_EQ(seen.find('\x1b'), std::string::npos) << seen.substr(1);
  EXPECT_EQ(seen.find("L -"), 0U) << seen;
}

constexpr char kFrameEnd[] = "\x1b[?2026l";
constexpr char kGivenBack[] = "\x1b[0m\x1b[?25h\x1b[?1049l";

TEST(OrvctlAnalyse, LivePictureFollowsKeysAndSizeAndLeavesTheTerminalAsItWas) {
  const ProgramOnMachine program;
  LiveProgram live(program, {"analyse", "0"});
  EXPECT_NE(live.ReadUntil(kFrameEnd).find("Internal Speakers"), std::string::npos);
  EXPECT_EQ(live.Settings().c_lflag & ECHO, 0U);
  EXPECT_EQ(live.ReadUntil(kFrameEnd).find("\x1b[2J"), std::string::npos) << "only changes";
  live.Resize(12, 60);
  EXPECT_TRUE(live.ReadUntil("\x1b[2J").ends_with("\x1b[?2026h\x1b[2J"));
  // The next picture after the frozen one is that of the other range.
  live.Type(' ');
  live.ReadUntil("frozen");
  live.ReadUntil(kFrameEnd);
  live.Type('+');
  EXPECT_NE(live.ReadUntil(kFrameEnd).find("-80"), std::string::npos);
  live.Type('q');
  EXPECT_TRUE(live.ReadUntil(kGivenBack).ends_with(kGivenBack));
  EXPECT_EQ(live.End(), 0);
  const termios after = live.Settings();
  EXPECT_EQ(after.c_lflag, live.before().c_lflag);
  EXPECT_EQ(std::memcmp(after.c_cc, live.before().c_cc, sizeof after.c_cc), 0);
}

TEST(OrvctlAnalyse, StoppedByAKeyItGivesTheTerminalToTheShellUntilItIsContinued) {
  const ProgramOnMachine program;
  LiveProgram live(program, {"analyse", "0"}, "set -m; TERM=xterm",
                   "; echo at the shell; read x; fg");
  live.ReadUntil(kFrameEnd);
  live.Type('\x1a');
  EXPECT_NE(live.ReadUntil("at the shell").find(kGivenBack), std::string::npos);
  EXPECT_EQ(live.Settings().c_lflag, live.before().c_lflag);
  live.Type('\n');
  EXPECT_NE(live.ReadUntil(kFrameEnd).find("\x1b[?2026h\x1b[2J"), std::string::npos);
  EXPECT_EQ(live.Settings().c_lflag & ECHO, 0U);
  live.Type('q');
  EXPECT_TRUE(live.ReadUntil(kGivenBack).ends_with(kGivenBack));
  EXPECT_EQ(live.End(), 0);
}

TEST(OrvctlAnalyse, SignalsEndItAfterAWholePictureWithTheTerminalGivenBack) {
  const ProgramOnMachine program;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    LiveProgram live(program, {"analyse", "0"});
    live.ReadUntil(kFrameEnd);
    live.Type('\x1c');  // would end it in the middle
    live.ReadUntil("\x1b[?2026h");
    live.Signal(signal);
    const std::string restored = std::string(kFrameEnd) + kGivenBack;
    EXPECT_TRUE(live.ReadUntil(restored).ends_with(restored)) << signal;
    EXPECT_EQ(live.End(), signal == SIGINT ? 0 : 128 + signal);
    EXPECT_EQ(live.Settings().c_lflag, live.before().c_lflag);
  }
}

// The picture of a stream in which every level is full scale.
AnalysisPicture FullPicture(std::size_t channels, std::size_t bands) {
  AnalysisPicture picture;
  picture.title = "Speakers with many channels";
  picture.channels = channels;
  picture.bands = ThirdOctaveBands();
  FitToStream(picture.bands, 48000);
  picture.bands.resize(std::min(bands, picture.bands.size()));
  picture.peaks.resize(std::min<std::size_t>(channels, 8));
  picture.spectrum.assign(std::min(kSpectrumChannels, channels),
                          std::vector<LevelMeter>(picture.bands.size()));
  for (LevelMeter& meter : picture.peaks) meter.Update(0, 0.1);
  for (auto& channel : picture.spectrum)
    for (LevelMeter& meter : channel) meter.Update(0, 0.1);
  return picture;
}

std::string RowText(const Screen& screen, int row) {
  std::string text;
  for (int column = 0; column < screen.size().columns; ++column)
    text += screen.At(row, column).text;
  return text;
}

std::string Text(const Screen& screen) {
  std::string text;
  for (int row = 0; row < screen.size().rows; ++row) text += RowText(screen, row) + "\n";
  return text;
}

TEST(AnalysisView, EverySizeLeavesTheLastColumnFreeAndShowsWhatFits) {
  for (const std::size_t channels : {1U, 2U, 10U}) {
    const AnalysisPicture picture = FullPicture(channels, channels == 1 ? 1 : 100);
    for (int columns = 1; columns <= 200; columns += 13) {
      for (int rows = 1; rows <= 60; rows += 5) {
        const Screen screen = DrawAnalysis(picture, {columns, rows}, {true, true});
        for (int row = 0; row < rows; ++row) ASSERT_TRUE(screen.IsBlank(row, columns - 1, 1));
        const std::string text = Text(screen);
        ASSERT_TRUE(columns < 21 || rows < 2 || text.find("0.0 dB") != std::string::npos) << text;
        ASSERT_TRUE(columns < 61 || rows < 19 || text.find(" Hz") != std::string::npos) << text;
      }
    }
  }
}

TEST(AnalysisView, ScalesZonesAndChannelsAreLabelled) {
  AnalysisPicture picture = FullPicture(6, 100);
  const Screen screen = DrawAnalysis(picture, {180, 30}, {true, true});
  EXPECT_EQ(RowText(screen, 29).substr(0, 15), "same       =50 ");
  const std::string text = Text(screen);
  for (const char* part : {"q quit", "0 dB", " -90└", "LFE", "CLIP", "dB █ L  █ R",
                           "no spectrum of other", "50    63    80    100", "20k Hz"})
    EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
  // Of a peak bar, from its foot to full scale.
  std::vector<const char*> zones;
  for (int column = 4; screen.At(2, column).text == "█"; ++column)
    if (zones.empty() || screen.At(2, column).colour != zones.back())
      zones.push_back(screen.At(2, column).colour);
  EXPECT_EQ(zones, (std::vector<const char*>{ansi::kGood, ansi::kWarning, ansi::kBad}));
  // Narrow columns have 1, 2 and 5 in each decade.
  EXPECT_NE(Text(DrawAnalysis(picture, {120, 30}, {})).find("50          100         200  "),
            std::string::npos);
  picture.silent = true;
  EXPECT_NE(Text(DrawAnalysis(picture, {80, 24}, {})).find(" silence "), std::string::npos);
  for (const char byte : Text(DrawAnalysis(FullPicture(2, 100), {80, 24}, {})))
    if (byte < 0) FAIL() << "beyond ASCII";
}

TEST(AnalysisView, MeterHoldsPeaksAndMarksClipping) {
  LevelMeter meter;
  meter.Update(-6, 0.1);
  meter.Update(LevelMeter::kSilence, 0.5);
  EXPECT_FLOAT_EQ(meter.level(), -18);
  EXPECT_FLOAT_EQ(meter.hold(), -6);
  EXPECT_FALSE(meter.clipped());
  meter.Update(0, 0.1);
  meter.Update(-30, 1.4);
  EXPECT_FLOAT_EQ(meter.level(), -30);
  EXPECT_FLOAT_EQ(meter.hold(), 0);
  EXPECT_TRUE(meter.clipped());
  meter.Update(LevelMeter::kSilence, 2);
  EXPECT_FLOAT_EQ(meter.hold(), -78);
  EXPECT_FALSE(meter.clipped());
  for (int i = 0; i < 10; ++i) meter.Update(LevelMeter::kSilence, 1);
  EXPECT_EQ(meter.level(), LevelMeter::kSilence);
}

TEST(SpectrumBands, EndBelowHalfTheRate) {
  for (const std::uint32_t rate : {16000U, 44100U, 96000U}) {
    auto bands = ThirdOctaveBands();
    FitToStream(bands, rate);
    EXPECT_EQ(bands.back().frequency, rate == 16000 ? 6300 : 20000);
    EXPECT_EQ(bands[1].same_bins_as, rate == 16000 ? std::nullopt : std::optional(50U)) << rate;
  }
}

TEST(SpectrumBands, HoldEveryBinOfTheirRange) {
  const auto bands = ThirdOctaveBands();
  for (const std::uint32_t spacing : {43U, 46U, 93U}) {
    std::vector<bool> seen(22000 / spacing);
    for (const Band& band : bands) {
      for (const std::uint32_t point : band.points) {
        const std::size_t bin = (point + spacing / 2) / spacing;
        if (bin < seen.size()) seen[bin] = true;
      }
    }
    for (std::size_t bin = 1; bin < seen.size(); ++bin) EXPECT_TRUE(seen[bin]) << bin * spacing;
  }
}

}  // namespace
}  // namespace orv::cli
