// A terminal's screen as cells, and the control sequences that turn one picture into the next.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/terminal.h"

namespace orv::cli {

class Screen {
 public:
  struct Cell {
    std::string text = " ";        // one character; empty in the right half of a wide one
    const char* colour = nullptr;  // a control sequence, one of ansi's

    friend bool operator==(const Cell&, const Cell&) = default;
  };

  explicit Screen(TerminalSize size = {0, 0})
      : size_(size), cells_(static_cast<std::size_t>(size.columns * size.rows)) {}

  const TerminalSize& size() const noexcept { return size_; }
  const Cell& At(int row, int column) const { return cells_[Index(row, column)]; }

  // UTF-8 text without control characters, from this cell to the right; what is outside the screen
  // is left out.
  void Put(int row, int column, std::string_view text, const char* colour = nullptr);
  // Whether these cells are inside the screen and blank.
  bool IsBlank(int row, int column, int columns) const;

 private:
  // The other half of a wide character that is written over.
  void BlankOtherHalf(int row, int column);
  std::size_t Index(int row, int column) const {
    return static_cast<std::size_t>(row * size_.columns + column);
  }

  TerminalSize size_;
  std::vector<Cell> cells_;
};

// The text that makes a terminal that shows `shown` show `next`: the cells that differ, in one
// synchronised update; everything if the sizes differ. Empty if no cell differs.
std::string ScreenChanges(const Screen& shown, const Screen& next);

}  // namespace orv::cli
