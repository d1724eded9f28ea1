#include "cli/show/analysis_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/show/output.h"
#include "cli/show/plot_axis.h"
#include "cli/show/scale.h"
#include "cli/show/table.h"

namespace orv::cli {
namespace {

constexpr int kEighths = 8;
constexpr int kNameWidth = 4;    // of a channel
constexpr int kValueWidth = 15;  // after a peak bar: level and clip mark
constexpr int kAxisWidth = 5;
constexpr int kLeastBarWidth = 10;
constexpr int kLeastSpectrumRows = 3;
constexpr float kYellow = -18;  // dB, where the zones of a peak bar begin
constexpr float kRed = -6;

constexpr char kSecondChannel[] = "\x1b[35m";
// Of the channels in the spectrum, unlike the zones'.
constexpr const char* kChannelColours[kSpectrumChannels] = {ansi::kAccent, kSecondChannel};

struct PictureGlyphs {
  const char* right[kEighths + 1];  // parts of a full cell, by eighths
  const char* up[kEighths + 1];
  const char* held_right;
  const char* held_up[3];  // low, in the middle, high
  const char* grid;
  const char* corner;
  const char* bottom;
  const char* tick;
  const char* block;
};
constexpr PictureGlyphs kBlockGlyphs = {{" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"},
                                        {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"},
                                        "│",
                                        {"▁", "─", "▔"},
                                        "┈",
                                        "└",
                                        "─",
                                        "┴",
                                        "█"};
constexpr PictureGlyphs kAsciiGlyphs = {{" ", " ", " ", " ", "#", "#", "#", "#", "#"},
                                        {" ", ".", ".", ":", ":", ":", "#", "#", "#"},
                                        "|",
                                        {"_", "-", "^"},
                                        ".",
                                        "+",
                                        "-",
                                        "+",
                                        "#"};

// Eighths of cells that a level fills.
int Filled(float level, float floor, int cells) {
  const float part = std::clamp(1 - level / floor, 0.0F, 1.0F);
  return static_cast<int>(std::lround(part * static_cast<float>(cells * kEighths)));
}

// "63", "1.25k": short enough for an axis.
std::string ShortFrequency(std::uint32_t frequency) {
  const std::string text = HertzText(frequency);
  return text.substr(0, text.find(' ')) + (frequency >= 1000 ? "k" : "");
}

// How the bands share the width.
struct BandLayout {
  std::size_t bands = 0;  // that fit
  int width = 0;          // columns of one, a gap included
  std::size_t bars = 1;   // of one band: a channel each, or the louder one's
  int bar_width = 1;

  BandLayout(std::size_t count, std::size_t channels, int columns) {
    const int room = columns - kAxisWidth;
    width = std::clamp(room / static_cast<int>(std::max<std::size_t>(count, 1)), 1, 6);
    bands = std::min(count, static_cast<std::size_t>(std::max(room / width, 0)));
    if (width > 2 && channels > 1) bars = kSpectrumChannels;
    bar_width = std::max((width - 1) / static_cast<int>(bars), 1);
  }
  int Column(std::size_t band) const { return kAxisWidth + static_cast<int>(band) * width; }
};

class PictureDrawing {
 public:
  PictureDrawing(const AnalysisPicture& picture, const TerminalSize& size,
                 const PictureStyle& style)
      : picture_(picture),
        style_(style),
        glyphs_(style.utf8 ? kBlockGlyphs : kAsciiGlyphs),
        columns_(size.columns - 1),
        rows_(size.rows),
        screen_(size) {}

  Screen Draw() {
    Heading();
    Peaks();
    Spectrum();
    return std::move(screen_);
  }

 private:
  // The last column stays free: some terminals erase it with the rest of a line.
  void Put(int row, int column, std::string_view text, const char* colour = nullptr) {
    if (column + static_cast<int>(DisplayWidth(text)) <= columns_)
      screen_.Put(row, column, text, style_.colour ? colour : nullptr);
  }

  void Heading() {
    std::string title = Printable(picture_.title);
    while (static_cast<int>(DisplayWidth(title)) > std::max(columns_, 0)) {
      while ((static_cast<unsigned char>(title.back()) & 0xC0U) == 0x80) title.pop_back();
      title.pop_back();
    }
    Put(0, 0, title, ansi::kBold);
    int column = static_cast<int>(DisplayWidth(title)) + 2;
    if (picture_.frozen) {
      Put(0, column, "frozen", ansi::kWarning);
      column += 8;
    }
    for (const std::string_view keys : {"q quit   space freeze   + - range", "q quit"}) {
      const int begin = columns_ - static_cast<int>(keys.size());
      if (begin < column) continue;
      Put(0, begin, keys, ansi::kDim);
      break;
    }
    row_ = 1;
  }

  // Rows that peaks and heading leave for the spectrum if the scale is drawn too.
  bool HasRoomFor(std::size_t rows) const { return row_ + static_cast<int>(rows) <= rows_; }

  void Peaks() {
    const int width = columns_ - kNameWidth - kValueWidth;
    const bool has_bars = width >= kLeastBarWidth;
    if (has_bars && HasRoomFor(picture_.peaks.size() + 1)) PeakScale(width);
    for (std::size_t c = 0; c < picture_.peaks.size(); ++c) {
      const LevelMeter& meter = picture_.peaks[c];
      const bool in_spectrum = c < kSpectrumChannels && c < picture_.spectrum.size();
      Put(row_, 0, ChannelName(c, picture_.channels), in_spectrum ? kChannelColours[c] : nullptr);
      if (has_bars) PeakBar(meter, width);
      const int column = has_bars ? kNameWidth + width : kNameWidth;
      const std::string level = LevelText(meter.hold());
      Put(row_, column, fmt::format("{:>{}}", level, has_bars ? 10 : 0));
      if (meter.clipped())
        Put(row_, column + (has_bars ? 10 : static_cast<int>(level.size())), " CLIP", ansi::kBad);
      ++row_;
    }
    if (picture_.channels > picture_.peaks.size() && HasRoomFor(1))
      Put(row_++, 0,
          fmt::format("{} of {} channels: the component reports no others.", picture_.peaks.size(),
                      picture_.channels),
          ansi::kDim);
  }

  void PeakScale(int width) {
    const double step = RoundStep(-picture_.floor, width / 8.0);
    for (double level = 0; level >= picture_.floor; level -= step) {
      const int column =
          kNameWidth + Filled(static_cast<float>(level), picture_.floor, width - 1) / kEighths;
      Put(row_, column, Decimals(level, 0) + (level == 0 ? " dB" : ""), ansi::kDim);
    }
    ++row_;
  }

  void PeakBar(const LevelMeter& meter, int width) {
    const float floor = picture_.floor;
    const int filled = Filled(meter.level(), floor, width);
    const int hold = meter.hold() > floor ? Filled(meter.hold(), floor, width - 1) / kEighths : -1;
    for (int cell = 0; cell < width; ++cell) {
      const float level =
          floor * (1 - (static_cast<float>(cell) + 0.5F) / static_cast<float>(width));
      const char* zone = level >= kRed      ? ansi::kBad
                         : level >= kYellow ? ansi::kWarning
                                            : ansi::kGood;
      const int part = std::clamp(filled - cell * kEighths, 0, kEighths);
      if (cell == hold && part < kEighths)
        Put(row_, kNameWidth + cell, glyphs_.held_right, zone);
      else if (part > 0)
        Put(row_, kNameWidth + cell, glyphs_.right[part], zone);
    }
  }

  void Spectrum() {
    const BandLayout layout(picture_.bands.size(), picture_.spectrum.size(), columns_);
    // Legend, axis and frequencies.
    constexpr int kOtherRows = 3;
    int rows = rows_ - row_ - kOtherRows;
    const bool has_marks = rows > kLeastSpectrumRows && HasSharedBins(layout);
    if (has_marks) --rows;
    if (rows < kLeastSpectrumRows || layout.bands == 0) return;
    Legend(layout);
    for (std::size_t band = 0; band < layout.bands; ++band)
      for (std::size_t bar = 0; bar < layout.bars; ++bar) SpectrumBar(layout, band, bar, rows);
    Grid(rows);
    if (picture_.silent) {
      constexpr std::string_view kSilence = " silence ";
      Put(row_ + rows / 2, (kAxisWidth + columns_ - static_cast<int>(kSilence.size())) / 2,
          kSilence, ansi::kBold);
    }
    row_ += rows;
    FrequencyAxis(layout);
    if (has_marks) SharedBins(layout);
  }

  void Legend(const BandLayout& layout) {
    Put(row_, 0, "  dB", ansi::kDim);
    int column = kAxisWidth;
    const auto put = [&](const std::string& text, const char* colour) {
      Put(row_, column, text, colour);
      column += static_cast<int>(DisplayWidth(text)) + 2;
    };
    for (std::size_t bar = 0; layout.bars > 1 && bar < layout.bars; ++bar)
      put(fmt::format("{} {}", glyphs_.block, ChannelName(bar, picture_.channels)),
          kChannelColours[bar]);
    if (layout.bars == 1 && picture_.spectrum.size() > 1) put("the louder of L and R", nullptr);
    put(fmt::format("{} highest", glyphs_.held_up[1]), ansi::kDim);
    if (picture_.channels > kSpectrumChannels)
      put("the component has no spectrum of other channels", ansi::kDim);
    ++row_;
  }

  void SpectrumBar(const BandLayout& layout, std::size_t band, std::size_t bar, int rows) {
    float level = LevelMeter::kSilence;
    float hold = LevelMeter::kSilence;
    for (std::size_t channel = 0; channel < picture_.spectrum.size(); ++channel) {
      if (layout.bars > 1 && channel != bar) continue;
      level = std::max(level, picture_.spectrum[channel][band].level());
      hold = std::max(hold, picture_.spectrum[channel][band].hold());
    }
    const int filled = Filled(level, picture_.floor, rows);
    const int held = Filled(hold, picture_.floor, rows);
    const char* colour = layout.bars > 1 ? kChannelColours[bar] : nullptr;
    const int column = layout.Column(band) + static_cast<int>(bar) * layout.bar_width;
    for (int cell = 0; cell < rows; ++cell) {
      const int part = std::clamp(filled - cell * kEighths, 0, kEighths);
      const int mark = held - cell * kEighths;
      const char* text = glyphs_.up[part];
      if (part == 0 && mark > 0 && mark <= kEighths) text = glyphs_.held_up[(mark - 1) / 3];
      if (*text == ' ') continue;
      for (int i = 0; i < layout.bar_width; ++i)
        Put(row_ + rows - 1 - cell, column + i, text, colour);
    }
  }

  // Levels at the left, with lines where no bar is. The foot's level is at the axis.
  void Grid(int rows) {
    Put(row_ + rows, 0, fmt::format("{:>{}}", Decimals(picture_.floor, 0), kAxisWidth - 1),
        ansi::kDim);
    const double step = RoundStep(-picture_.floor, rows / 3.0);
    for (double level = 0; level >= picture_.floor; level -= step) {
      const int row = static_cast<int>(std::lround(level / picture_.floor * rows));
      Put(row_ + row, 0, fmt::format("{:>{}}", Decimals(level, 0), kAxisWidth - 1), ansi::kDim);
      for (int column = kAxisWidth; row < rows && column < columns_; ++column)
        if (screen_.IsBlank(row_ + row, column, 1))
          Put(row_ + row, column, glyphs_.grid, ansi::kDim);
    }
  }

  void FrequencyAxis(const BandLayout& layout) {
    const auto labelled = LabelledBands(layout);
    Put(row_, kAxisWidth - 1, glyphs_.corner, ansi::kDim);
    for (int column = kAxisWidth; column < columns_; ++column)
      Put(row_, column, glyphs_.bottom, ansi::kDim);
    ++row_;
    constexpr std::string_view kUnit = " Hz";
    const int room = columns_ - static_cast<int>(kUnit.size());
    int end = 0;
    for (const std::size_t band : labelled) {
      const std::string text = ShortFrequency(picture_.bands[band].frequency);
      const int column = layout.Column(band);
      const int after = column + static_cast<int>(text.size());
      if (column < end || after > room) continue;
      Put(row_ - 1, column, glyphs_.tick, ansi::kDim);
      Put(row_, column, text, ansi::kDim);
      end = after + 1;
    }
    Put(row_, std::max(end - 1, 0), kUnit, ansi::kDim);
    ++row_;
  }

  // All if their names fit, else 1, 2 and 5 in each decade, else as many as fit.
  std::vector<std::size_t> LabelledBands(const BandLayout& layout) const {
    std::vector<std::size_t> all;
    std::vector<std::size_t> round;
    bool all_fit = true;
    for (std::size_t band = 0; band < layout.bands; ++band) {
      const std::uint32_t frequency = picture_.bands[band].frequency;
      all.push_back(band);
      const std::vector<double> known = LabelledFrequencies(frequency, frequency);
      if (!known.empty()) round.push_back(band);
      if (static_cast<int>(ShortFrequency(frequency).size()) >= layout.width) all_fit = false;
    }
    return all_fit || round.empty() ? all : round;
  }

  bool HasSharedBins(const BandLayout& layout) const {
    return std::any_of(picture_.bands.begin(),
                       picture_.bands.begin() + static_cast<std::ptrdiff_t>(layout.bands),
                       [](const Band& band) { return band.same_bins_as.has_value(); });
  }

  // "=50" under a band that has the bins of the one at 50 Hz, "=" if the column is narrow.
  void SharedBins(const BandLayout& layout) {
    Put(row_, 0, "same", ansi::kDim);
    for (std::size_t band = 0; band < layout.bands; ++band) {
      const auto& shared = picture_.bands[band].same_bins_as;
      if (!shared) continue;
      const std::string mark = "=" + ShortFrequency(*shared);
      const bool fits = static_cast<int>(mark.size()) < layout.width;
      Put(row_, layout.Column(band), fits ? mark : "=", ansi::kDim);
    }
    ++row_;
  }

  const AnalysisPicture& picture_;
  PictureStyle style_;
  const PictureGlyphs& glyphs_;
  int columns_;
  int rows_;
  int row_ = 0;  // the next one
  Screen screen_;
};

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

float WiderFloor(float floor) { return std::max(floor - 10, -120.0F); }

float NarrowerFloor(float floor) { return std::min(floor + 10, -30.0F); }

std::string ChannelName(std::size_t channel, std::size_t channels) {
  static constexpr const char* kLayouts[][8] = {{"M"},
                                                {"L", "R"},
                                                {"L", "R", "C"},
                                                {"L", "R", "BL", "BR"},
                                                {"L", "R", "C", "BL", "BR"},
                                                {"L", "R", "C", "LFE", "BL", "BR"},
                                                {"L", "R", "C", "LFE", "BC", "SL", "SR"},
                                                {"L", "R", "C", "LFE", "BL", "BR", "SL", "SR"}};
  if (channel >= channels || channels > std::size(kLayouts)) return fmt::to_string(channel + 1);
  return kLayouts[channels - 1][channel];
}

std::string LevelText(float level) {
  return std::isfinite(level) ? Decimals(level, 1) + " dB" : "silence";
}

Screen DrawAnalysis(const AnalysisPicture& picture, const TerminalSize& size,
                    const PictureStyle& style) {
  return PictureDrawing(picture, size, style).Draw();
}

}  // namespace orv::cli
