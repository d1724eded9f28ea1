#include "cli/show/table.h"

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <span>

#include "cli/show/output.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

constexpr std::size_t kColumnGap = 2;  // blanks between columns

struct CodePoints {
  char32_t first;
  char32_t last;
};

constexpr CodePoints kZeroWidth[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},
                                     {0x064B, 0x065F}, {0x200B, 0x200F}, {0x20D0, 0x20FF},
                                     {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
constexpr CodePoints kDoubleWidth[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},  {0x3041, 0xA4CF},
                                       {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},  {0xFE30, 0xFE6F},
                                       {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F},
                                       {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

bool Contains(std::span<const CodePoints> ranges, char32_t point) {
  return std::ranges::any_of(ranges, [point](const CodePoints& range) {
    return point >= range.first && point <= range.last;
  });
}

std::size_t Width(char32_t point) {
  if (Contains(kZeroWidth, point)) return 0;
  return Contains(kDoubleWidth, point) ? 2 : 1;
}

bool IsNumberWithUnit(std::string_view word, std::string_view next) {
  constexpr std::string_view kUnits[] = {"dB", "%", "Hz", "kHz", "ms"};
  const std::string_view unit = next.substr(0, next.find_first_of(".,;:)\x1b"));
  return !word.empty() && word.back() >= '0' && word.back() <= '9' &&
         std::ranges::find(kUnits, unit) != std::end(kUnits);
}

// Where the piece of a line ends that may not be broken: a word, a number with its unit, words that
// are one path with blanks in it (two neighbours with the same slash), a command up to the end of
// the line.
std::size_t EndOfPiece(std::string_view line, std::size_t begin) {
  const bool may_be_command =
      line.find_first_not_of(' ') == begin || (begin >= 2 && line.substr(begin - 2, 2) == ": ");
  if (may_be_command && line.substr(begin).starts_with("orvctl ")) return line.size();
  const auto word_at = [&](std::size_t at) {
    return line.substr(at, std::min(line.find(' ', at), line.size()) - at);
  };
  std::string_view word = word_at(begin);
  std::size_t end = begin + word.size();
  while (end < line.size()) {
    const std::string_view next = word_at(end + 1);
    const auto is_in_both = [&](char slash) {
      return word.find(slash) != word.npos && next.find(slash) != next.npos;
    };
    if (!is_in_both('\\') && !is_in_both('/') && !IsNumberWithUnit(word, next)) break;
    word = next;
    end += 1 + next.size();
  }
  return end;
}

// Without the sequences that choose a colour.
std::size_t ShownWidth(std::string_view text) {
  std::size_t width = DisplayWidth(text);
  for (std::size_t at = text.find('\x1b'); at != std::string_view::npos;
       at = text.find('\x1b', at + 1))
    width -= DisplayWidth(text.substr(at, text.find('m', at) - at)) + 1;
  return width;
}

std::string FoldedLine(std::string_view line, std::size_t columns) {
  const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
  std::string folded(line.substr(0, indent));
  std::size_t width = indent;
  std::size_t blanks = 0;
  for (std::size_t begin = indent; begin < line.size();) {
    const std::size_t end = EndOfPiece(line, begin);
    const std::string_view piece = line.substr(begin, end - begin);
    const std::size_t own = ShownWidth(piece);
    if (width != indent && width + blanks + own > columns) {
      folded += '\n' + std::string(indent, ' ');
      width = indent;
    } else {
      folded += std::string(blanks, ' ');
      width += blanks;
    }
    folded += piece;
    width += own;
    begin = std::min(line.find_first_not_of(' ', end), line.size());
    blanks = begin - end;
  }
  return folded;
}

void AppendPadded(std::string& line, const Cell& cell, Align align, std::size_t width,
                  bool colour) {
  const std::size_t own = DisplayWidth(cell.text);
  const std::string padding(width > own ? width - own : 0, ' ');
  const bool paint = colour && cell.colour != nullptr;
  if (align == Align::Right) line += padding;
  line += paint ? cell.colour + cell.text + ansi::kReset : cell.text;
  if (align == Align::Left) line += padding;
}

}  // namespace

std::size_t DisplayWidth(std::string_view utf8) {
  std::size_t width = 0;
  for (auto at = utf8.begin(); at != utf8.end();)
    width += Width(boost::locale::utf::utf_traits<char>::decode(at, utf8.end()));
  return width;
}

std::string Printable(std::string_view utf8) {
  std::wstring units = WideFromUtf8(utf8);
  for (wchar_t& unit : units)
    if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0)) unit = 0xFFFD;
  return Utf8FromWide(units);
}

std::string FirstColumns(std::string_view utf8, std::size_t width) {
  std::size_t used = 0;
  auto at = utf8.begin();
  for (auto next = at; next != utf8.end(); at = next) {
    used += Width(boost::locale::utf::utf_traits<char>::decode(next, utf8.end()));
    if (used > width) break;
  }
  return std::string(utf8.begin(), at);
}

std::vector<std::string> Wrapped(std::string_view utf8, std::size_t width) {
  std::vector<std::string> lines;
  std::string rest(utf8);
  while (DisplayWidth(rest) > width) {
    std::string line = FirstColumns(rest, width);
    if (line.empty()) line = FirstColumns(rest, 2);  // a character wider than the column
    if (line.empty()) break;
    std::size_t taken = line.size();
    const std::size_t blank =
        rest[taken] == ' ' ? taken : line.find_last_of(' ');  // of the first that does not fit
    if (blank != std::string::npos && line.find_first_not_of(' ') < blank) {
      line.resize(line.find_last_not_of(' ', blank == taken ? taken - 1 : blank) + 1);
      taken = std::min(rest.find_first_not_of(' ', blank), rest.size());
    }
    lines.push_back(line);
    rest.erase(0, taken);
  }
  if (!rest.empty() || lines.empty()) lines.push_back(rest);
  return lines;
}

std::string Folded(std::string_view text, std::size_t columns) {
  if (columns == 0) return std::string(text);
  std::string folded;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    if (begin != 0) folded += '\n';
    folded += FoldedLine(text.substr(begin, end - begin), columns);
    begin = end + 1;
  }
  return folded;
}

std::vector<std::size_t> Table::Widths(std::size_t limit) const {
  std::vector<std::size_t> widths;
  for (const Column& column : columns_) widths.push_back(DisplayWidth(column.title));
  for (const Row& row : rows_)
    for (std::size_t i = 0; i < std::min(row.cells.size(), widths.size()); ++i)
      widths[i] = std::max(widths[i], DisplayWidth(row.cells[i].text));
  if (limit == 0 || widths.empty()) return widths;

  std::size_t total = kColumnGap * (widths.size() - 1);
  for (const std::size_t width : widths) total += width;
  const std::size_t last = widths.size() - 1;
  constexpr std::size_t kLeastWrapped = 24;
  constexpr std::size_t kLeastCut = 10;
  while (total > limit) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < last; ++i)
      if (columns_[i].align == Align::Left && widths[i] > kLeastCut &&
          (widest == nullptr || widths[i] > *widest))
        widest = &widths[i];
    const bool wraps = columns_[last].align == Align::Left && widths[last] > kLeastWrapped;
    if (wraps) widest = &widths[last];
    if (widest == nullptr) break;
    --*widest;
    --total;
  }
  return widths;
}

std::string Table::RowText(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                           bool colour, std::size_t indent) const {
  std::string text;
  const std::size_t count = std::min(cells.size(), widths.size());
  std::vector<std::string> last_lines{""};
  const bool wraps = count == widths.size() && columns_.back().align == Align::Left;
  if (wraps) last_lines = Wrapped(cells[count - 1].text, std::max<std::size_t>(widths.back(), 1));
  for (std::size_t at = 0; at < last_lines.size(); ++at) {
    std::string line(indent, ' ');
    for (std::size_t i = 0; i < count; ++i) {
      if (i != 0) line += std::string(kColumnGap, ' ');
      Cell cell = cells[i];
      const bool is_wrapped = wraps && i + 1 == count;
      if (is_wrapped)
        cell.text = last_lines[at];
      else if (at != 0)
        cell = Cell("");
      else if (DisplayWidth(cell.text) > widths[i])
        cell.text = FirstColumns(cell.text, widths[i] - 3) + "...";
      const bool ends = i + 1 == cells.size() && columns_[i].align == Align::Left;
      AppendPadded(line, cell, columns_[i].align, ends ? 0 : widths[i], colour);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}

std::string Table::Text(bool colour, std::size_t indent, std::size_t limit) const {
  const std::vector<std::size_t> widths = Widths(limit > indent ? limit - indent : limit);
  std::vector<Cell> titles;
  for (const Column& column : columns_) titles.emplace_back(column.title, ansi::kDim);

  std::string text;
  if (std::ranges::any_of(titles, [](const Cell& title) { return !title.text.empty(); }))
    text += RowText(titles, widths, colour, indent);
  std::size_t before_last = indent;
  for (std::size_t i = 0; i + 1 < widths.size(); ++i) before_last += widths[i] + kColumnGap;
  for (const Row& row : rows_) {
    text += RowText(row.cells, widths, colour, indent);
    if (!row.note.empty()) text += Folded(std::string(before_last, ' ') + row.note, limit) + "\n";
  }
  return text;
}

}  // namespace orv::cli
