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

// Taken over for pictures: a screen of their own without a cursor, and nothing of what is typed
// shows up in them. Interrupt keys still interrupt. The terminal is as it was before when this
// object goes.
class Terminal {
 public:
  // Null when standard output is no terminal.
  static std::unique_ptr<Terminal> Take();
  virtual ~Terminal() = default;
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  virtual TerminalSize Size() const = 0;  // as it is now; the usual one when it is not known
  // The text with its control sequences (ANSI), in one piece; false when the terminal is gone.
  virtual bool Write(std::string_view text) = 0;

 protected:
  Terminal() = default;
};

}  // namespace orv
