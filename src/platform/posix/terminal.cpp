#include "platform/terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace orv {
namespace {

volatile std::sig_atomic_t g_suspend_requested = 0;

extern "C" void RequestSuspension(int) { g_suspend_requested = 1; }

class PosixTerminal final : public Terminal {
 public:
  explicit PosixTerminal(const termios& before) : before_(before) {
    TakeOver();
    former_suspend_ = std::signal(SIGTSTP, RequestSuspension);
  }
  ~PosixTerminal() override {
    std::signal(SIGTSTP, former_suspend_);
    GiveBack();
  }

  TerminalSize Size() const override {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
      return {};
    return {size.ws_col, size.ws_row};
  }
  bool Write(std::string_view text) override {
    while (!text.empty()) {
      const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }
  std::optional<char> Key() override {
    if (g_suspend_requested != 0) {
      Suspend();
      return kRedraw;
    }
    // Reading in the background would stop the program.
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char key = 0;
    if (tcgetpgrp(STDIN_FILENO) != getpgrp() || poll(&input, 1, 0) != 1 ||
        read(STDIN_FILENO, &key, 1) != 1)
      return std::nullopt;
    return key;
  }

 private:
  void TakeOver() {
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    quiet.c_lflag |= NOFLSH;  // an interrupt must not cut a picture off inside a control sequence
    // Ended at once, the program would leave the terminal as it is now.
    quiet.c_cc[VQUIT] = _POSIX_VDISABLE;
    tcsetattr(STDOUT_FILENO, TCSADRAIN, &quiet);
    PosixTerminal::Write(kOwnScreenWithoutCursor);
  }
  void GiveBack() {
    PosixTerminal::Write(kFormerScreenAndCursor);
    // Text that was typed meanwhile is not input for the next program.
    tcsetattr(STDOUT_FILENO, TCSAFLUSH, &before_);
  }
  // Returns when the program is continued, at once if no shell is there to continue it.
  void Suspend() {
    g_suspend_requested = 0;
    GiveBack();
    std::signal(SIGTSTP, SIG_DFL);
    std::raise(SIGTSTP);
    std::signal(SIGTSTP, RequestSuspension);
    TakeOver();
  }

  termios before_;
  void (*former_suspend_)(int) = SIG_DFL;
};

}  // namespace

std::unique_ptr<Terminal> Terminal::Take() {
  const char* const kind = std::getenv("TERM");
  termios before{};
  if (kind != nullptr && std::string_view(kind) == "dumb") return nullptr;
  if (isatty(STDOUT_FILENO) == 0 || tcgetattr(STDOUT_FILENO, &before) != 0) return nullptr;
  return std::make_unique<PosixTerminal>(before);
}

}  // namespace orv
