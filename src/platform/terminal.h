// The terminal that standard output goes to.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <memory>
#include <optional>
#include <string_view>

namespace orv {

struct TerminalSize {
  int columns = 80;
  int rows = 24;

  friend bool operator==(const TerminalSize&, const TerminalSize&) = default;
};

// Taken over for pictures: a screen of their own without a cursor, on which typed text does not
// show. Interrupt keys still interrupt. The destructor restores the terminal. One at a time.
class Terminal : boost::noncopyable {
 public:
  // Null if standard output is not a terminal, or one without control sequences (TERM=dumb).
  static std::unique_ptr<Terminal> Take();
  virtual ~Terminal() = default;

  virtual TerminalSize Size() const = 0;  // at present; the default if it is unknown
  // The text with its control sequences (ANSI), in one piece; false if the terminal is closed.
  virtual bool Write(std::string_view text) = 0;

  // The screen is to be drawn afresh: asked for by the user, or the terminal was given back because
  // the program was suspended, and has been taken again.
  static constexpr char kRedraw = '\f';
  // The next typed ASCII character or kRedraw, without waiting; nullopt if there is none. A request
  // to suspend the program takes effect here.
  virtual std::optional<char> Key() = 0;

 protected:
  static constexpr char kOwnScreenWithoutCursor[] = "\x1b[?1049h\x1b[?25l\x1b[2J";
  static constexpr char kFormerScreenAndCursor[] = "\x1b[0m\x1b[?25h\x1b[?1049l";

  Terminal() = default;
};

}  // namespace orv
