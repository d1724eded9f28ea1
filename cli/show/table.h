// Aligned tables.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

// Columns that a terminal gives to UTF-8 text: combining marks none, East Asian wide forms two.
std::size_t DisplayWidth(std::string_view utf8);

// The text with control characters replaced: names come from registries and files, and must not
// move a terminal's cursor.
std::string Printable(std::string_view utf8);

// The text's lines of at most `width` columns, broken at blanks, or within a longer word. Blanks at
// the start of the text are kept; an empty text is one empty line.
std::vector<std::string> Wrapped(std::string_view utf8, std::size_t width);

// The text with each line that is wider than `columns` broken at blanks, its further lines indented
// as it is. A path, a number with its unit, and a command to paste ("...: orvctl doctor"), stays in
// one piece, whatever its width. Sequences that choose a colour have no width. 0 columns: the text
// as it is.
std::string Folded(std::string_view text, std::size_t columns);

enum class Align { Left, Right };

// Text with the colour it is shown in; the escape sequences do not count for its width.
struct Cell {
  std::string text;
  const char* colour = nullptr;

  Cell(const std::string& value) : text(Printable(value)) {}
  Cell(const char* value) : Cell(std::string(value)) {}
  Cell(const std::string& value, const char* ansi) : text(Printable(value)), colour(ansi) {}
};

class Table {
 public:
  struct Column {
    std::string title;
    Align align = Align::Left;
  };

  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // A row shorter than the columns leaves the rest blank. The note is below the row, under its last
  // cell, and folded.
  void Add(std::vector<Cell> cells, const std::string& note = {}) {
    rows_.push_back({std::move(cells), Printable(note)});
  }
  bool empty() const noexcept { return rows_.empty(); }

  // Each line starts with `indent` blanks; no line ends in blanks. If the table is wider than
  // `limit` columns, the last column wraps if its text is on the left, then the widest of the
  // others are cut, which "..." shows. 0: no limit.
  std::string Text(bool colour, std::size_t indent = 0, std::size_t limit = 0) const;

 private:
  struct Row {
    std::vector<Cell> cells;
    std::string note;
  };

  std::vector<std::size_t> Widths(std::size_t limit) const;
  std::string RowText(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                      bool colour, std::size_t indent) const;

  std::vector<Column> columns_;
  std::vector<Row> rows_;
};

}  // namespace orv::cli
