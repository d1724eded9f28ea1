#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace orv {
namespace {

class PosixTerminal final : public Terminal {
 public:
  explicit PosixTerminal(const termios& before) : before_(before) {
    termios quiet = before;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    quiet.c_lflag |= NOFLSH;  // an interrupt must not cut a picture off inside a control sequence
    // Suspended or ended at once, the program would leave the terminal as it is now.
    quiet.c_cc[VSUSP] = _POSIX_VDISABLE;
    quiet.c_cc[VQUIT] = _POSIX_VDISABLE;
    tcsetattr(STDOUT_FILENO, TCSADRAIN, &quiet);
    PosixTerminal::Write(kOwnScreenWithoutCursor);
  }
  ~PosixTerminal() override {
    PosixTerminal::Write(kFormerScreenAndCursor);
    // Text that was typed meanwhile is not input for the next program.
    tcsetattr(STDOUT_FILENO, TCSAFLUSH, &before_);
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

 private:
  termios before_;
};

}  // namespace

std::unique_ptr<Terminal> Terminal::Take() {
  termios before{};
  if (isatty(STDOUT_FILENO) == 0 || tcgetattr(STDOUT_FILENO, &before) != 0) return nullptr;
  return std::make_unique<PosixTerminal>(before);
}

}  // namespace orv
