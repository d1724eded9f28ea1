#include "cli/show/screen.h"

#include <fmt/format.h>

#include "cli/show/output.h"
#include "cli/show/table.h"

namespace orv::cli {
namespace {

// Bytes of the character that starts with this one.
std::size_t CharacterSize(char first) {
  const auto byte = static_cast<unsigned char>(first);
  return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// Draws cells with as few control sequences as their places and colours need.
class Pen {
 public:
  void Draw(int row, int column, const Screen::Cell& cell) {
    if (cell.text.empty()) return;  // drawn with its left half
    MoveTo(row, column);
    if (cell.colour != colour_) {
      if (colour_ != nullptr) text_ += ansi::kReset;
      if (cell.colour != nullptr) text_ += cell.colour;
      colour_ = cell.colour;
    }
    text_ += cell.text;
    column_ += static_cast<int>(DisplayWidth(cell.text));
  }
  std::string Take() {
    if (colour_ != nullptr) text_ += ansi::kReset;
    return std::move(text_);
  }

 private:
  void MoveTo(int row, int column) {
    if (row != row_ || column < column_)
      text_ += fmt::format("\x1b[{};{}H", row + 1, column + 1);
    else if (column - column_ == 1)
      text_ += "\x1b[C";
    else if (column > column_)
      text_ += fmt::format("\x1b[{}C", column - column_);
    row_ = row;
    column_ = column;
  }

  std::string text_;
  int row_ = -1;
  int column_ = 0;
  const char* colour_ = nullptr;
};

}  // namespace

void Screen::Put(int row, int column, std::string_view text, const char* colour) {
  if (row < 0 || row >= size_.rows) return;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, CharacterSize(text.front()));
    text.remove_prefix(character.size());
    const int width = static_cast<int>(DisplayWidth(character));
    if (width == 0) {
      // A mark over the character before.
      if (column <= 0 || column > size_.columns) continue;
      const std::size_t before = Index(row, column - 1);
      (cells_[before].text.empty() ? cells_[before - 1] : cells_[before]).text += character;
      continue;
    }
    if (column >= 0 && column + width <= size_.columns) {
      BlankOtherHalf(row, column);
      BlankOtherHalf(row, column + width - 1);
      cells_[Index(row, column)] = {std::string(character), colour};
      if (width == 2) cells_[Index(row, column + 1)] = {"", colour};
    }
    column += width;
  }
}

void Screen::BlankOtherHalf(int row, int column) {
  if (At(row, column).text.empty()) cells_[Index(row, column - 1)] = {};
  if (column + 1 < size_.columns && At(row, column + 1).text.empty())
    cells_[Index(row, column + 1)] = {};
}

bool Screen::IsBlank(int row, int column, int columns) const {
  if (row < 0 || row >= size_.rows || column < 0 || column + columns > size_.columns) return false;
  for (int i = 0; i < columns; ++i)
    if (At(row, column + i).text != " ") return false;
  return true;
}

std::string ScreenChanges(const Screen& shown, const Screen& next) {
  constexpr char kHoldBack[] = "\x1b[?2026h";  // until the picture is whole, on terminals that can
  constexpr char kShow[] = "\x1b[?2026l";
  const bool fresh = shown.size() != next.size();
  const Screen::Cell blank;
  Pen pen;
  for (int row = 0; row < next.size().rows; ++row) {
    for (int column = 0; column < next.size().columns; ++column) {
      const Screen::Cell& cell = next.At(row, column);
      if (cell != (fresh ? blank : shown.At(row, column))) pen.Draw(row, column, cell);
    }
  }
  const std::string changes = pen.Take();
  if (changes.empty() && !fresh) return "";
  return fmt::format("{}{}{}{}", kHoldBack, fresh ? "\x1b[2J" : "", changes, kShow);
}

}  // namespace orv::cli
