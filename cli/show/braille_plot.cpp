#include "cli/show/braille_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orv::cli {
namespace {

constexpr int kAxisLabelWidth = 7;
constexpr int kFewestColumns = 30;
constexpr std::uint32_t kBraille = 0x2800;
// The bits of a character's dots, by row and column.
constexpr std::uint32_t kDots[4][2] = {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};

// What axes are drawn with.
struct Glyphs {
  const char* side;
  const char* tick_side;
  const char* corner;
  const char* bottom;
  const char* tick_bottom;
  const char* grid;
  const char* minus;
};
constexpr Glyphs kLines = {"│", "┤", "└", "─", "┴", "┈", "\u2212"};
constexpr Glyphs kAscii = {"|", "+", "+", "-", "+", ".", "-"};

std::string Utf8OfUnit(std::uint32_t unit) {
  return {static_cast<char>(0xE0 | unit >> 12), static_cast<char>(0x80 | (unit >> 6 & 0x3F)),
          static_cast<char>(0x80 | (unit & 0x3F))};
}

std::string Blank(std::size_t columns) { return std::string(columns, ' '); }

// The characters of one panel: dots in braille, marks in ASCII.
class Canvas {
 public:
  Canvas(int columns, int rows, bool braille)
      : columns_(columns),
        rows_(rows),
        across_(braille ? 2 : 1),
        down_(braille ? 4 : 1),
        cells_(static_cast<std::size_t>(columns * rows)) {}

  void Draw(const TextCurve& curve, const TextPlot& plot, const TextPanel& panel) {
    const AxisRange& values = panel.values;
    const int dots = columns_ * across_;
    double last = std::numeric_limits<double>::quiet_NaN();
    for (int x = 0; x < dots; ++x) {
      const double share = dots > 1 ? static_cast<double>(x) / (dots - 1) : 0;
      const double value = curve.value(plot.low * std::pow(plot.high / plot.low, share));
      const double dot = (values.high - value) / (values.high - values.low) * (Height() - 1);
      const bool jumps = panel.wraps && std::abs(dot - last) > Height() / 2.0;
      const bool connects = std::isfinite(last) && !jumps;
      if (std::isfinite(dot)) DrawSpan(curve, x, connects ? last : dot, dot);
      last = dot;
    }
  }

  std::string Text(int row, const char* ground, const Output& output) const {
    std::string line;
    for (int column = 0; column < columns_; ++column) {
      const Cell& cell = cells_[Index(column, row)];
      const bool empty = cell.dots == 0;
      std::string text = empty ? ground : std::string(1, cell.mark);
      if (!empty && down_ > 1) text = Utf8OfUnit(kBraille | cell.dots);
      const char* colour = empty ? ansi::kDim : cell.colour;
      line += colour != nullptr && text != " " ? output.Painted(text, colour) : text;
    }
    return line;
  }

 private:
  struct Cell {
    std::uint32_t dots = 0;
    const char* colour = nullptr;
    char mark = ' ';
  };

  int Height() const { return rows_ * down_; }
  std::size_t Index(int column, int row) const {
    return static_cast<std::size_t>(row * columns_ + column);
  }

  // The dots from one height to the next, so that a steep curve has no holes; what is outside the
  // panel is left out.
  void DrawSpan(const TextCurve& curve, int x, double from, double to) {
    const double limit = Height();
    const auto top = static_cast<int>(std::lround(std::clamp(std::min(from, to), -1.0, limit)));
    const auto bottom = static_cast<int>(std::lround(std::clamp(std::max(from, to), -1.0, limit)));
    const auto own = static_cast<int>(std::lround(std::clamp(to, -1.0, limit)));
    const auto before = static_cast<int>(std::lround(std::clamp(from, -1.0, limit)));
    for (int y = std::max(top, 0); y <= std::min(bottom, Height() - 1); ++y) {
      if (y == before && y != own) continue;  // the column before has it
      Cell& cell = cells_[Index(x / across_, y / down_)];
      cell.dots |= kDots[y % down_][x % across_];
      cell.colour = curve.colour;
      cell.mark = curve.mark;
    }
  }

  int columns_;
  int rows_;
  int across_;
  int down_;
  std::vector<Cell> cells_;
};

// The row that a value is in.
int RowOf(double value, const TextPanel& panel) {
  const double share = (panel.values.high - value) / (panel.values.high - panel.values.low);
  return static_cast<int>(std::lround(share * (panel.rows - 1)));
}

std::vector<std::string> RowLabels(const TextPanel& panel, const Glyphs& glyphs) {
  std::vector<std::string> labels(static_cast<std::size_t>(panel.rows));
  const double span = panel.values.high - panel.values.low;
  const int steps = static_cast<int>(std::lround(span / panel.values.step));
  for (int i = 0; i <= steps; ++i) {
    const double value = panel.values.low + i * panel.values.step;
    labels[static_cast<std::size_t>(RowOf(value, panel))] =
        AxisValueText(value, panel.values.step, glyphs.minus);
  }
  return labels;
}

void DrawPanel(const TextPlot& plot, const TextPanel& panel, int width, bool braille,
               const Output& output, std::vector<std::string>& lines) {
  const Glyphs& glyphs = braille ? kLines : kAscii;
  Canvas canvas(width, panel.rows, braille);
  for (const TextCurve& curve : panel.curves) canvas.Draw(curve, plot, panel);
  const std::vector<std::string> labels = RowLabels(panel, glyphs);
  const bool has_zero = panel.values.low <= 0 && panel.values.high >= 0;
  lines.push_back(Blank(kAxisLabelWidth + 1) + output.Painted(panel.title, ansi::kBold));
  for (int row = 0; row < panel.rows; ++row) {
    const std::string& label = labels[static_cast<std::size_t>(row)];
    const std::size_t label_width = DisplayWidth(label);
    const char* ground = has_zero && row == RowOf(0, panel) ? glyphs.grid : " ";
    std::string line = output.Painted(Blank(kAxisLabelWidth -
                                            std::min<std::size_t>(label_width, kAxisLabelWidth)) +
                                          label + (label.empty() ? glyphs.side : glyphs.tick_side),
                                      ansi::kDim) +
                       canvas.Text(row, ground, output);
    while (line.ends_with(' ')) line.pop_back();
    lines.push_back(std::move(line));
  }
}

void DrawFrequencyAxis(const TextPlot& plot, int width, bool braille, const Output& output,
                       std::vector<std::string>& lines) {
  const Glyphs& glyphs = braille ? kLines : kAscii;
  std::vector<const char*> line(static_cast<std::size_t>(width), glyphs.bottom);
  const std::string unit = " Hz";
  std::string labels = Blank(static_cast<std::size_t>(width));
  const std::size_t room = labels.size() - unit.size();
  std::size_t end = 0;
  for (const double frequency : LabelledFrequencies(plot.low, plot.high)) {
    const double share = std::log(frequency / plot.low) / std::log(plot.high / plot.low);
    const auto column = static_cast<std::size_t>(std::lround(share * (width - 1)));
    line[column] = glyphs.tick_bottom;
    const std::string text = AxisFrequencyText(frequency);
    const std::size_t begin = column >= text.size() / 2 ? column - text.size() / 2 : 0;
    if (begin < end || begin + text.size() > room) continue;
    labels.replace(begin, text.size(), text);
    end = begin + text.size() + 1;
  }
  labels.replace(room, unit.size(), unit);
  std::string axis = Blank(kAxisLabelWidth) + glyphs.corner;
  for (const char* glyph : line) axis += glyph;
  lines.push_back(output.Painted(axis, ansi::kDim));
  lines.push_back(output.Painted(Blank(kAxisLabelWidth + 1) + labels, ansi::kDim));
}

}  // namespace

std::vector<std::string> DrawPlot(const TextPlot& plot, int columns, bool braille,
                                  const Output& output) {
  std::vector<std::string> lines;
  if (columns < kFewestColumns) return lines;
  const int width = columns - kAxisLabelWidth - 1;
  for (const TextPanel& panel : plot.panels) DrawPanel(plot, panel, width, braille, output, lines);
  DrawFrequencyAxis(plot, width, braille, output, lines);
  return lines;
}

}  // namespace orv::cli
