// The terminal that standard output goes to.
#pragma once

#include <memory>
#include <string_view>

namespace orv {

struct TerminalSize {
  int columns = 80;
  int rows = 24;

  friend bool operator==(const TerminalSize&, const TerminalSize&) = default;
};

// Taken over for pictures: a screen of their own without a cursor, on which typed text does not
// show. Interrupt keys still interrupt. The destructor restores the terminal.
class Terminal {
 public:
  // Null if standard output is not a terminal.
  static std::unique_ptr<Terminal> Take();
  virtual ~Terminal() = default;
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  virtual TerminalSize Size() const = 0;  // at present; the default if it is unknown
  // The text with its control sequences (ANSI), in one piece; false if the terminal is closed.
  virtual bool Write(std::string_view text) = 0;

 protected:
  static constexpr char kOwnScreenWithoutCursor[] = "\x1b[?1049h\x1b[?25l\x1b[2J";
  static constexpr char kFormerScreenAndCursor[] = "\x1b[0m\x1b[?25h\x1b[?1049l";

  Terminal() = default;
};

}  // namespace orv
