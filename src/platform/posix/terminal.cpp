#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace orv {
namespace {

constexpr char kOwnScreenWithoutCursor[] = "\x1b[?1049h\x1b[?25l\x1b[2J";
constexpr char kFormerScreenAndCursor[] = "\x1b[0m\x1b[?25h\x1b[?1049l";

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
    WriteAll(kOwnScreenWithoutCursor);
  }
  ~PosixTerminal() override {
    WriteAll(kFormerScreenAndCursor);
    // What was typed meanwhile was not meant for who comes next.
    tcsetattr(STDOUT_FILENO, TCSAFLUSH, &before_);
  }

  TerminalSize Size() const override {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
      return {};
    return {size.ws_col, size.ws_row};
  }
  bool Write(std::string_view text) override { return WriteAll(text); }

 private:
  static bool WriteAll(std::string_view text) {
    while (!text.empty()) {
      const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }

  termios before_;
};

}  // namespace

std::unique_ptr<Terminal> Terminal::Take() {
  termios before{};
  if (isatty(STDOUT_FILENO) == 0 || tcgetattr(STDOUT_FILENO, &before) != 0) return nullptr;
  return std::make_unique<PosixTerminal>(before);
}

}  // namespace orv
