#include "cli/show/analysis_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/show/scale.h"

namespace orv::cli {
namespace {

constexpr float kPeakFloor = -60;      // dB
constexpr float kSpectrumFloor = -90;  // dB
constexpr int kEighths = 8;
constexpr int kLabelWidth = 3;
constexpr int kValueWidth = 15;  // after a peak bar: level and clip mark
constexpr int kAxisWidth = 5;
constexpr int kLeastBarWidth = 10;
constexpr int kLeastSpectrumRows = 3;

// Parts of a full block, by eighths.
constexpr const char* kGrowingRight[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"};
constexpr const char* kGrowingUp[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr char kHoldMark[] = "│";

std::string Blank(int columns) {
  return std::string(static_cast<std::size_t>(std::max(columns, 0)), ' ');
}

// Puts the text at the column if the line has room there and is still blank.
void Place(std::string& line, int column, const std::string& text) {
  const int end = column + static_cast<int>(text.size());
  if (column < 0 || end > static_cast<int>(line.size())) return;
  const auto begin = static_cast<std::size_t>(std::max(column - 1, 0));
  const std::size_t count = static_cast<std::size_t>(end) - begin + 1;
  if (line.substr(begin, count).find_first_not_of(' ') != std::string::npos) return;
  line.replace(static_cast<std::size_t>(column), text.size(), text);
}

// Eighths of cells that a level fills.
int Filled(float level, float floor, int cells) {
  const float part = std::clamp(1 - level / floor, 0.0F, 1.0F);
  return static_cast<int>(std::lround(part * static_cast<float>(cells * kEighths)));
}

std::string PeakScale(int width) {
  std::string line = Blank(width + 4);
  for (int level = static_cast<int>(kPeakFloor); level <= 0; level += 10) {
    const int column = Filled(static_cast<float>(level), kPeakFloor, width - 1) / kEighths;
    Place(line, column, level == 0 ? "0 dB" : fmt::to_string(level));
  }
  return Blank(kLabelWidth) + line;
}

std::string PeakBar(const LevelMeter& meter, int width, const Output& output) {
  const int filled = Filled(meter.level(), kPeakFloor, width);
  const int hold =
      meter.hold() > kPeakFloor ? Filled(meter.hold(), kPeakFloor, width - 1) / kEighths : -1;
  std::string bar;
  std::string rest;
  for (int cell = 0; cell < width; ++cell) {
    const int part = std::clamp(filled - cell * kEighths, 0, kEighths);
    if (cell == hold && part < kEighths)
      rest += kHoldMark;
    else if (part > 0)
      bar += kGrowingRight[part];
    else
      rest += " ";
  }
  return output.Painted(bar, ansi::kGood) + rest;
}

void DrawPeaks(const AnalysisPicture& picture, int columns, const Output& output,
               std::vector<std::string>& lines) {
  const int width = columns - kLabelWidth - kValueWidth;
  if (width < kLeastBarWidth) return;
  lines.push_back(output.Painted(PeakScale(width), ansi::kDim));
  for (std::size_t c = 0; c < picture.peaks.size(); ++c) {
    const LevelMeter& meter = picture.peaks[c];
    lines.push_back(fmt::format("{:<{}}{}{:>10}{}", ChannelName(c), kLabelWidth,
                                PeakBar(meter, width, output), LevelText(meter.hold()),
                                meter.clipped() ? output.Painted(" CLIP", ansi::kBad) : ""));
  }
}

// How the bands share the width.
struct BandLayout {
  std::size_t bands = 0;  // that fit
  int width = 0;          // columns of one, a gap included
  std::size_t bars = 1;   // of one band: a channel each, or the louder one's

  BandLayout(std::size_t count, std::size_t channels, int columns) {
    const int room = columns - kAxisWidth;
    width = std::clamp(room / static_cast<int>(std::max<std::size_t>(count, 1)), 1, 6);
    bands = std::min(count, static_cast<std::size_t>(std::max(room / width, 0)));
    if (width > 2 && channels > 1) bars = kSpectrumChannels;
  }
};

float BarLevel(const AnalysisPicture& picture, const BandLayout& layout, std::size_t band,
               std::size_t bar) {
  if (layout.bars > 1) return picture.spectrum[bar][band].level();
  float level = LevelMeter::kSilence;
  for (const auto& channel : picture.spectrum) level = std::max(level, channel[band].level());
  return level;
}

std::string SpectrumRow(const AnalysisPicture& picture, const BandLayout& layout, int row, int rows,
                        const Output& output) {
  const int gap = layout.width > 1 ? 1 : 0;
  const int bar_width = (layout.width - gap) / static_cast<int>(layout.bars);
  const int left_over = layout.width - bar_width * static_cast<int>(layout.bars);
  std::string line;
  for (std::size_t band = 0; band < layout.bands; ++band) {
    for (std::size_t bar = 0; bar < layout.bars; ++bar) {
      const int filled = Filled(BarLevel(picture, layout, band, bar), kSpectrumFloor, rows);
      const int part = std::clamp(filled - (rows - 1 - row) * kEighths, 0, kEighths);
      std::string cells;
      for (int i = 0; i < bar_width; ++i) cells += kGrowingUp[part];
      line += part == 0 ? cells : output.Painted(cells, bar == 0 ? ansi::kAccent : ansi::kGood);
    }
    line += Blank(left_over);
  }
  return line;
}

// "=50" under a band that has the bins of the one at 50 Hz, "=" if the column is narrow.
std::string SharedBinsRow(const AnalysisPicture& picture, const BandLayout& layout) {
  std::string row;
  for (std::size_t band = 0; band < layout.bands; ++band) {
    std::string mark;
    if (const auto& shared = picture.bands[band].same_bins_as) {
      mark = "=" + ShortFrequency(*shared);
      if (static_cast<int>(mark.size()) >= layout.width) mark.resize(1);
    }
    row += fmt::format("{:<{}}", mark, layout.width);
  }
  return row;
}

void DrawSpectrum(const AnalysisPicture& picture, int columns, int rows, const Output& output,
                  std::vector<std::string>& lines) {
  const BandLayout layout(picture.bands.size(), picture.spectrum.size(), columns);
  const std::string shared = SharedBinsRow(picture, layout);
  const bool has_marks = rows > kLeastSpectrumRows && shared.find('=') != std::string::npos;
  if (has_marks) --rows;
  if (rows < kLeastSpectrumRows || layout.bands == 0) return;
  constexpr int kMarks = 3;  // besides 0 dB
  for (int row = 0; row < rows; ++row) {
    std::string axis;
    for (int mark = 0; mark < kMarks; ++mark)
      if (row == mark * rows / kMarks)
        axis = Decimals(kSpectrumFloor * static_cast<float>(mark) / kMarks, 0);
    lines.push_back(output.Painted(fmt::format("{:>{}} ", axis, kAxisWidth - 1), ansi::kDim) +
                    SpectrumRow(picture, layout, row, rows, output));
  }
  std::string names = Blank(columns - kAxisWidth);
  for (std::size_t band = 0; band < layout.bands; ++band)
    Place(names, static_cast<int>(band) * layout.width,
          ShortFrequency(picture.bands[band].frequency));
  lines.push_back(output.Painted(Blank(kAxisWidth) + names, ansi::kDim));
  if (has_marks) lines.push_back(output.Painted("same " + shared, ansi::kDim));
}

}  // namespace

std::vector<Band> ThirdOctaveBands() {
  // Hz; less than the distance of two bins of any rate from 22 kHz up.
  constexpr std::uint32_t kStep = 20;
  constexpr std::uint32_t kNominalCentres[] = {
      50,   63,   80,   100,  125,  160,  200,  250,  315,  400,   500,   630,   800,  1000,
      1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};
  constexpr int kFirstStep = -13;  // 50 Hz, in tenths of a decade from 1 kHz
  std::vector<Band> bands;
  int step = kFirstStep;
  for (const std::uint32_t nominal : kNominalCentres) {
    const double lower = 1000 * std::pow(10, (step - 0.5) / 10);
    const double upper = 1000 * std::pow(10, (step + 0.5) / 10);
    Band band{nominal, {nominal}, {}};
    for (double point = std::ceil(lower); point < upper; point += kStep)
      band.points.push_back(static_cast<std::uint32_t>(point));
    bands.push_back(std::move(band));
    ++step;
  }
  return bands;
}

bool IsInBand(std::uint32_t frequency, std::uint32_t sample_rate) noexcept {
  return frequency > 0 && frequency < sample_rate - sample_rate / 2;
}

std::string ShortFrequency(std::uint32_t frequency) {
  const std::string text = HertzText(frequency);
  return text.substr(0, text.find(' ')) + (frequency >= 1000 ? "k" : "");
}

void LevelMeter::Update(float level, double seconds) {
  constexpr double kFall = 24;  // dB a second
  constexpr double kHoldSeconds = 1.5;
  constexpr double kClipSeconds = 3;
  constexpr float kLowest = -200;  // dB; a level that has fallen below it is silence
  level_ -= static_cast<float>(kFall * seconds);
  if (level_ < kLowest) level_ = kSilence;
  level_ = std::max(level_, level);
  hold_seconds_ -= seconds;
  if (level_ >= hold_ || hold_seconds_ <= 0) {
    hold_ = level_;
    hold_seconds_ = kHoldSeconds;
  }
  clip_seconds_ -= seconds;
  if (level >= 0) clip_seconds_ = kClipSeconds;
}

std::string ChannelName(std::size_t channel) {
  return channel == 0 ? "L" : channel == 1 ? "R" : fmt::to_string(channel + 1);
}

std::string LevelText(float level) {
  return std::isfinite(level) ? Decimals(level, 1) + " dB" : "-inf";
}

std::vector<std::string> DrawAnalysis(const AnalysisPicture& picture, const TerminalSize& size,
                                      const Output& output) {
  constexpr char kHint[] = "Ctrl+C ends";
  std::vector<std::string> lines;
  const std::string title = Printable(picture.title);
  // Some terminals erase their last column with the rest of a line: it stays free.
  const int columns = size.columns - 1;
  const int hint_width = sizeof kHint - 1;
  const int room = columns - static_cast<int>(DisplayWidth(title)) - hint_width;
  std::string heading = columns >= hint_width ? output.Painted(kHint, ansi::kDim) : "";
  if (room >= 1) heading = output.Painted(title, ansi::kBold) + Blank(room) + heading;
  lines.push_back(heading);
  DrawPeaks(picture, columns, output, lines);
  lines.emplace_back();
  const int rows = size.rows - static_cast<int>(lines.size()) - 1;
  DrawSpectrum(picture, columns, rows, output, lines);
  if (static_cast<int>(lines.size()) > size.rows)
    lines.resize(static_cast<std::size_t>(std::max(size.rows, 1)));
  return lines;
}

std::string FrameText(const std::vector<std::string>& lines, bool fresh) {
  constexpr char kHoldBack[] = "\x1b[?2026h";  // until the frame is whole, on terminals that can
  constexpr char kShow[] = "\x1b[?2026l";
  constexpr char kToEndOfLine[] = "\x1b[K";
  constexpr char kToEndOfScreen[] = "\x1b[J";
  return fmt::format("{}{}\x1b[H{}{}{}{}", kHoldBack, fresh ? "\x1b[2J" : "",
                     fmt::join(lines, std::string(kToEndOfLine) + "\r\n"), kToEndOfLine,
                     kToEndOfScreen, kShow);
}

}  // namespace orv::cli
