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

  // A row shorter than the columns leaves the rest blank.
  void Add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
  bool empty() const noexcept { return rows_.empty(); }

  // Each line starts with `indent` blanks; no line ends in blanks.
  std::string Text(bool colour, std::size_t indent = 0) const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

}  // namespace orv::cli
