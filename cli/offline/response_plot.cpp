#include "cli/offline/response_plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cmath>
#include <iterator>

#include "cli/offline/filter_response.h"
#include "cli/show/plot_axis.h"
#include "cli/show/scale.h"

namespace orv::cli {
namespace {

constexpr double kWidth = 960;
constexpr double kLeft = 92;
constexpr double kRight = kWidth - 30;
constexpr double kLineHeight = 20;
constexpr double kTop = 58;  // of the details; then the legend, then the upper panel
constexpr std::size_t kLegendColumns = 4;
constexpr double kGap = 36;
constexpr double kFooter = 56;   // labels and name of the frequency axis
constexpr double kDeepest = 90;  // dB below the highest point that are still drawn
constexpr int kSteps = 1000;     // of a response
constexpr char kMinus[] = "\u2212";

// Distinct also with colour-blindness.
constexpr const char* kColours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                    "#e69f00", "#56b4e9", "#7f3fbf"};

struct Pixel {
  double x;
  double y;
};

// Points of a line, nullopt in its gaps.
using Trace = std::vector<std::optional<double>>;

struct Line {
  Trace values;
  std::string attributes;
};

struct Panel {
  std::string id;
  std::string name;
  double height;
  AxisRange values;
  std::vector<Line> lines;
  double top = 0;

  double bottom() const { return top + height; }
  double Y(double value) const {
    return top + height * (values.high - value) / (values.high - values.low);
  }
};

std::string Number(double number) { return Decimals(number, 2); }

// Text as it is printed: with the characters that XML keeps for itself, and true minus signs.
std::string Typeset(std::string text) {
  boost::replace_all(text, "&", "&amp;");
  boost::replace_all(text, "<", "&lt;");
  boost::replace_all(text, ">", "&gt;");
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    const bool begins = i == 0 || text[i - 1] == ' ';
    if (begins && text[i] == '-' && text[i + 1] >= '0' && text[i + 1] <= '9')
      text.replace(i, 1, kMinus);
  }
  return text;
}

std::string LineElement(Pixel from, Pixel to, const std::string& attributes) {
  return fmt::format("<line x1='{}' y1='{}' x2='{}' y2='{}' {}/>\n", Number(from.x), Number(from.y),
                     Number(to.x), Number(to.y), attributes);
}

std::string TextElement(double x, double y, const char* style, const std::string& text) {
  return fmt::format("<text x='{}' y='{}' class='{}'>{}</text>\n", Number(x), Number(y), style,
                     Typeset(text));
}

std::string Rectangle(const Panel& panel, const char* attributes) {
  return fmt::format("<rect x='{}' y='{}' width='{}' height='{}'{}/>", Number(kLeft),
                     Number(panel.top), Number(kRight - kLeft), Number(panel.height), attributes);
}

// Leaves out the points between `first` and `last` that are on a straight line.
void AppendSimplified(const std::vector<Pixel>& points, std::size_t first, std::size_t last,
                      std::vector<Pixel>& kept) {
  constexpr double kTolerance = 0.06;  // pixels
  const Pixel from = points[first];
  const Pixel to = points[last];
  std::size_t farthest = first;
  double distance = kTolerance;
  for (std::size_t i = first + 1; i < last; ++i) {
    const double share = (points[i].x - from.x) / (to.x - from.x);
    const double off = std::abs(points[i].y - (from.y + share * (to.y - from.y)));
    if (off > distance) {
      distance = off;
      farthest = i;
    }
  }
  if (farthest != first) {
    AppendSimplified(points, first, farthest, kept);
    AppendSimplified(points, farthest, last, kept);
  } else {
    kept.push_back(to);
  }
}

std::string Polyline(const std::vector<Pixel>& points, const std::string& attributes) {
  if (points.size() < 2) return {};
  std::vector<Pixel> kept{points.front()};
  AppendSimplified(points, 0, points.size() - 1, kept);
  std::string text = "<polyline points='";
  for (const Pixel& point : kept) text += Number(point.x) + "," + Number(point.y) + " ";
  return text + "' " + attributes + "/>\n";
}

class Drawing {
 public:
  explicit Drawing(const ResponsePlot& plot)
      : plot_(plot), frequencies_(ResponseFrequencies(kSteps, plot.rate)) {
    AddMagnitude();
    AddErrors();
    AddPhase();
    AddGroupDelay();
    double top = LegendTop() - 6;
    top += kLineHeight * static_cast<double>(LegendEntries() / kLegendColumns + 1);
    if (!plot_.marks.empty()) top += kLineHeight;
    for (Panel& panel : panels_) {
      panel.top = top;
      top = panel.bottom() + kGap;
    }
  }

  std::string Svg() const {
    const double bottom = panels_.back().bottom();
    std::string svg = fmt::format(
        "<svg xmlns='http://www.w3.org/2000/svg' width='{0}' height='{1}' viewBox='0 0 {0} {1}'>\n"
        "{2}<defs>",
        Number(kWidth), Number(bottom + kFooter), kStyle);
    for (const Panel& panel : panels_)
      svg += fmt::format("<clipPath id='{}'>{}</clipPath>\n", panel.id, Rectangle(panel, ""));
    svg += "</defs>\n<rect width='100%' height='100%' fill='#ffffff'/>\n";
    AddHead(svg);
    for (const Panel& panel : panels_) {
      AddFrequencyGrid(panel, &panel == &panels_.back(), svg);
      AddValueGrid(panel, svg);
      if (&panel == &panels_.front()) AddMarks(panel, svg);
      for (const Line& line : panel.lines) AddLine(panel, line, svg);
      if (&panel == &panels_.front()) AddGains(panel, svg);
      svg += Rectangle(panel, " class='frame'") + "\n";
    }
    svg += TextElement((kLeft + kRight) / 2, bottom + 42, "name", "Frequency in Hz");
    return svg + "</svg>\n";
  }

 private:
  // The forms of a curve with the look of their lines. The ideal ones come below all others.
  struct Form {
    std::optional<Cascade> ResponseCurve::*cascade;
    const char* look;
  };
  static constexpr Form kForms[] = {{&ResponseCurve::ideal, "class='ideal'"},
                                    {&ResponseCurve::fixed, "class='fixed' stroke='{}'"},
                                    {&ResponseCurve::held, "class='held' stroke='{}'"}};

  double X(double frequency) const {
    return kLeft + (kRight - kLeft) * std::log(frequency / frequencies_.front()) /
                       std::log(frequencies_.back() / frequencies_.front());
  }
  static std::string Look(const Form& form, std::size_t curve) {
    return fmt::format(fmt::runtime(form.look), kColours[curve % std::size(kColours)]);
  }

  // `value` returns an optional number for a cascade and a frequency.
  template <class Value>
  void AddLines(Panel& panel, Value value) const {
    for (const Form& form : kForms) {
      for (std::size_t i = 0; i < plot_.curves.size(); ++i) {
        const std::optional<Cascade>& cascade = plot_.curves[i].*form.cascade;
        if (!cascade) continue;
        Line line{{}, Look(form, i)};
        for (const double frequency : frequencies_)
          line.values.push_back(value(*cascade, frequency));
        panel.lines.push_back(std::move(line));
      }
    }
  }

  static void Widen(const Panel& panel, double& low, double& high) {
    for (const Line& line : panel.lines) {
      for (const std::optional<double>& value : line.values) {
        if (!value || !std::isfinite(*value)) continue;
        low = std::min(low, *value);
        high = std::max(high, *value);
      }
    }
  }

  void AddMagnitude() {
    Panel panel{"magnitude", "Magnitude in dB", 320, {}, {}};
    AddLines(panel, [&](const Cascade& cascade, double frequency) -> std::optional<double> {
      const double decibels = cascade.Decibels(frequency, plot_.rate);
      return std::isnan(decibels) ? std::nullopt : std::optional(decibels);
    });
    double low = 0;
    double high = 0;
    Widen(panel, low, high);
    for (const ResponseGain& gain : plot_.gains) {
      low = std::min(low, gain.decibels);
      high = std::max(high, gain.decibels);
    }
    low = std::max(low, high - kDeepest);
    const double margin = std::max(1.0, 0.04 * (high - low));
    panel.values = RoundRange(std::max(low - margin, high - kDeepest), high + margin, 10);
    panels_.push_back(std::move(panel));
  }

  // There is none where both are silent; it is infinite where one is an exact zero.
  std::optional<double> Error(const Cascade& ideal, const Cascade& other, double frequency) const {
    const double wanted = ideal.Decibels(frequency, plot_.rate);
    const double found = other.Decibels(frequency, plot_.rate);
    if ((IsSilent(wanted) && IsSilent(found)) || std::isnan(found - wanted)) return std::nullopt;
    return found - wanted;
  }

  void AddErrors() {
    constexpr double kSmallest = 0.005;
    constexpr double kLargest = 40;
    Panel panel{"error", "Error in dB", 110, {}, {}};
    for (std::size_t i = 0; i < plot_.curves.size(); ++i) {
      const ResponseCurve& curve = plot_.curves[i];
      for (const Form& form : {kForms[1], kForms[2]}) {
        const std::optional<Cascade>& cascade = curve.*form.cascade;
        if (!curve.ideal || !cascade) continue;
        Line line{{}, Look(form, i)};
        for (const double frequency : frequencies_)
          line.values.push_back(Error(*curve.ideal, *cascade, frequency));
        panel.lines.push_back(std::move(line));
      }
    }
    if (panel.lines.empty()) return;
    double low = -kSmallest;
    double high = kSmallest;
    Widen(panel, low, high);
    const double largest = 1.1 * std::min(std::max(-low, high), kLargest);
    panel.values = RoundRange(-largest, largest, 4);
    panels_.push_back(std::move(panel));
  }

  bool Passes(const Cascade& cascade, double frequency) const {
    return !IsSilent(cascade.Decibels(frequency, plot_.rate));
  }

  void AddPhase() {
    Panel panel{"phase", "Phase in degrees", 110, {-180, 180, 90}, {}};
    AddLines(panel, [&](const Cascade& cascade, double frequency) -> std::optional<double> {
      const double phase = cascade.Phase(frequency, plot_.rate);
      const bool known = std::isfinite(phase) && Passes(cascade, frequency);
      return known ? std::optional(phase) : std::nullopt;
    });
    panels_.push_back(std::move(panel));
  }

  void AddGroupDelay() {
    constexpr double kLongest = 500;  // ms
    Panel panel{"delay", "Group delay in ms", 110, {}, {}};
    AddLines(panel, [&](const Cascade& cascade, double frequency) -> std::optional<double> {
      const double delay = 1000 * cascade.GroupDelay(frequency, plot_.rate) / plot_.rate;
      const bool known = std::isfinite(delay) && Passes(cascade, frequency);
      return known ? std::optional(delay) : std::nullopt;
    });
    double low = 0;
    double high = 0.01;
    Widen(panel, low, high);
    panel.values = RoundRange(std::max(low, -kLongest), std::min(high, kLongest), 4);
    panels_.push_back(std::move(panel));
  }

  double LegendTop() const {
    return kTop + 6 +
           kLineHeight * static_cast<double>(plot_.details.size() + plot_.warnings.size());
  }

  // Name and look of each entry.
  std::vector<std::pair<std::string, std::string>> Legend() const {
    const auto has = [&](const Form& form) {
      return std::ranges::any_of(plot_.curves, [&](const ResponseCurve& curve) {
        return (curve.*form.cascade).has_value();
      });
    };
    std::vector<std::pair<std::string, std::string>> entries;
    if (has(kForms[0])) entries.emplace_back("ideal", kForms[0].look);
    for (std::size_t i = 0; i < plot_.curves.size(); ++i) {
      const std::string& name = plot_.curves[i].name;
      entries.emplace_back(name.empty() ? "quantised" : name, Look(kForms[1], i));
    }
    if (has(kForms[2])) entries.emplace_back("in the DSP", "class='held' stroke='#222'");
    return entries;
  }
  std::size_t LegendEntries() const { return Legend().size() + (plot_.gains.empty() ? 0 : 1); }

  void AddHead(std::string& svg) const {
    constexpr double kSample = 26;
    svg += TextElement(kLeft, 36, "title", plot_.title);
    double y = kTop;
    const auto add = [&](const std::vector<std::string>& lines, const char* style) {
      for (const std::string& line : lines) {
        svg += TextElement(kLeft, y, style, line);
        y += kLineHeight;
      }
    };
    add(plot_.details, "detail");
    add(plot_.warnings, "warning");
    std::size_t entries = 0;
    const auto place = [&] {
      const std::size_t entry = entries++;
      return Pixel{
          kLeft + (kRight - kLeft) / kLegendColumns * static_cast<double>(entry % kLegendColumns),
          LegendTop() + kLineHeight * static_cast<double>(entry / kLegendColumns)};
    };
    for (const auto& [name, look] : Legend()) {
      const Pixel at = place();
      svg += LineElement({at.x + 3, at.y - 4}, {at.x + kSample, at.y - 4}, look);
      svg += TextElement(at.x + kSample + 8, at.y, "legend", name);
    }
    if (plot_.gains.empty()) return;
    const Pixel at = place();
    svg += GainElement({at.x + kSample / 2, at.y - 4});
    svg += TextElement(at.x + kSample + 8, at.y, "legend", plot_.gains_name);
  }

  void AddFrequencyGrid(const Panel& panel, bool labels, std::string& svg) const {
    const double high = frequencies_.back();
    for (double decade = 1; decade < high; decade *= 10) {
      for (int digit = 1; digit < 10; ++digit) {
        const double frequency = digit * decade;
        if (frequency < frequencies_.front() || frequency > high) continue;
        svg += LineElement({X(frequency), panel.top}, {X(frequency), panel.bottom()},
                           digit == 1 ? "class='major'" : "class='minor'");
      }
    }
    if (!labels) return;
    for (const double frequency : LabelledFrequencies(frequencies_.front(), high))
      svg += TextElement(X(frequency), panel.bottom() + 18, "tick middle",
                         AxisFrequencyText(frequency));
  }

  static void AddValueGrid(const Panel& panel, std::string& svg) {
    const AxisRange& values = panel.values;
    const int steps = static_cast<int>(std::lround((values.high - values.low) / values.step));
    for (int i = 0; i <= steps; ++i) {
      const double value = values.low + i * values.step;
      const double y = panel.Y(value);
      const bool zero = std::abs(value) < values.step / 2;
      svg += LineElement({kLeft, y}, {kRight, y}, zero ? "class='zero'" : "class='minor'");
      svg += TextElement(kLeft - 9, y + 4, "tick end", AxisValueText(value, values.step, kMinus));
    }
    svg += fmt::format("<text class='name' transform='translate({} {}) rotate(-90)'>{}</text>\n",
                       Number(24), Number((panel.top + panel.bottom()) / 2), panel.name);
  }

  // Texts that would touch are left out; their lines stay.
  void AddMarks(const Panel& panel, std::string& svg) const {
    constexpr double kRoom = 16;
    double free = 0;
    std::vector<ResponseMark> marks = plot_.marks;
    std::ranges::sort(marks, {}, &ResponseMark::frequency);
    for (const ResponseMark& mark : marks) {
      if (mark.frequency < frequencies_.front() || mark.frequency > frequencies_.back()) continue;
      const double x = X(mark.frequency);
      svg += LineElement({x, panel.top - 4}, {x, panel.bottom()}, "class='mark'");
      if (x < free) continue;
      svg += TextElement(x, panel.top - 8, "tick middle", mark.text);
      free = x + kRoom;
    }
  }

  void AddLine(const Panel& panel, const Line& line, std::string& svg) const {
    // Far outside the frame a line is drawn at its edge: viewers fail on huge coordinates.
    const double reach = panel.values.high - panel.values.low;
    const bool wraps = panel.id == "phase";
    const std::string attributes =
        fmt::format("{} clip-path='url(#{})'", line.attributes, panel.id);
    std::vector<Pixel> points;
    double last = 0;
    for (std::size_t i = 0; i < line.values.size(); ++i) {
      const std::optional<double>& value = line.values[i];
      const bool jumps = wraps && value && std::abs(*value - last) > 180;
      if (!value || jumps) {
        svg += Polyline(points, attributes);
        points.clear();
      }
      if (!value) continue;
      const double shown = std::clamp(*value, panel.values.low - reach, panel.values.high + reach);
      points.push_back({X(frequencies_[i]), panel.Y(shown)});
      last = *value;
    }
    svg += Polyline(points, attributes);
  }

  static std::string GainElement(Pixel at) {
    return fmt::format("<circle cx='{}' cy='{}' r='4.5' class='gain'/>\n", Number(at.x),
                       Number(at.y));
  }
  void AddGains(const Panel& panel, std::string& svg) const {
    for (const ResponseGain& gain : plot_.gains)
      svg += GainElement({X(gain.frequency), panel.Y(gain.decibels)});
  }

  static constexpr char kStyle[] =
      "<style>\n"
      "text{font-family:Helvetica,Arial,'Liberation Sans','DejaVu Sans',sans-serif;fill:#222}\n"
      ".title{font-size:18px;font-weight:bold}\n"
      ".detail{font-size:12.5px;fill:#555}.warning{font-size:12.5px;fill:#c00000}\n"
      ".name{font-size:13px;text-anchor:middle}\n"
      ".tick{font-size:12px;fill:#444}.middle{text-anchor:middle}.end{text-anchor:end}\n"
      ".legend{font-size:12.5px}\n"
      ".minor{stroke:#e6e6e6;stroke-width:1}.major{stroke:#bdbdbd;stroke-width:1}\n"
      ".zero{stroke:#8a8a8a;stroke-width:1}\n"
      ".mark{stroke:#8a8a8a;stroke-width:1;stroke-dasharray:2 3}\n"
      ".frame{fill:none;stroke:#444;stroke-width:1.2}\n"
      ".ideal{fill:none;stroke:#c4c4c4;stroke-width:6;stroke-linecap:round;stroke-linejoin:round}\n"
      ".fixed{fill:none;stroke-width:1.8;stroke-linejoin:round}\n"
      ".held{fill:none;stroke-width:3;stroke-linejoin:round;stroke-dasharray:7 5}\n"
      ".gain{fill:#fff;stroke:#222;stroke-width:1.6}\n"
      "</style>\n";

  const ResponsePlot& plot_;
  std::vector<double> frequencies_;
  std::vector<Panel> panels_;
};

}  // namespace

std::vector<std::string> CurveWarnings(const std::vector<ResponseCurve>& curves, double rate) {
  std::vector<std::string> warnings;
  for (const ResponseCurve& curve : curves) {
    const std::string name = curve.name.empty() ? "" : curve.name + ": ";
    const auto look = [&](const std::optional<Cascade>& cascade, const char* form) {
      if (!cascade) return;
      if (IsSilent(*cascade, rate))
        warnings.push_back(fmt::format("{}the {} filter is silent: nothing passes.", name, form));
      if (!cascade->Stable())
        warnings.push_back(fmt::format("{}the {} filter is UNSTABLE (largest pole radius {}).",
                                       name, form, Decimals(cascade->PoleRadius(), 6)));
    };
    look(curve.fixed, "quantised");
    look(curve.held, "DSP's");
  }
  return warnings;
}

std::string DrawResponse(const ResponsePlot& plot) { return Drawing(plot).Svg(); }

}  // namespace orv::cli
