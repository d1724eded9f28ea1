#include "cli/show/table.h"

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <span>

#include "cli/show/output.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

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

std::string Table::Text(bool colour, std::size_t indent) const {
  std::vector<std::size_t> widths;
  for (const Column& column : columns_) widths.push_back(DisplayWidth(column.title));
  for (const auto& row : rows_)
    for (std::size_t i = 0; i < std::min(row.size(), widths.size()); ++i)
      widths[i] = std::max(widths[i], DisplayWidth(row[i].text));

  std::vector<Cell> titles;
  for (const Column& column : columns_) titles.emplace_back(column.title, ansi::kDim);

  std::string text;
  const auto append = [&](const std::vector<Cell>& row) {
    std::string line(indent, ' ');
    for (std::size_t i = 0; i < std::min(row.size(), widths.size()); ++i) {
      if (i != 0) line += "  ";
      const bool last = i + 1 == row.size() && columns_[i].align == Align::Left;
      AppendPadded(line, row[i], columns_[i].align, last ? 0 : widths[i], colour);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  };
  if (std::ranges::any_of(titles, [](const Cell& title) { return !title.text.empty(); }))
    append(titles);
  for (const auto& row : rows_) append(row);
  return text;
}

}  // namespace orv::cli
