#include "cli/offline/response_plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cmath>
#include <iterator>
#include <optional>

#include "cli/show/scale.h"
#include "dsp_math/cascade_response.h"

namespace orv::cli {
namespace {

constexpr double kWidth = 960;
constexpr double kLeft = 92;
constexpr double kRight = kWidth - 30;
constexpr double kLineHeight = 20;
constexpr double kTop = 58;  // of the details; then the legend, then the upper panel
constexpr std::size_t kLegendColumns = 4;
constexpr double kMagnitudeHeight = 330;
constexpr double kGap = 40;
constexpr double kErrorHeight = 120;
constexpr double kFooter = 56;   // labels and name of the frequency axis
constexpr double kDeepest = 90;  // dB below the highest point that are still drawn

// Distinct also with colour-blindness.
constexpr const char* kColours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                    "#e69f00", "#56b4e9", "#7f3fbf"};

struct Range {
  double low;
  double high;
  double step;  // between grid lines
};

// A rectangle of the drawing with its two scales.
struct Panel {
  double top;
  double height;
  Range frequency;
  Range values;

  double bottom() const { return top + height; }
  double X(double hertz) const {
    return kLeft + (kRight - kLeft) * std::log(hertz / frequency.low) /
                       std::log(frequency.high / frequency.low);
  }
  double Y(double value) const {
    return top + height * (values.high - value) / (values.high - values.low);
  }
};

std::string Escaped(std::string text) {
  boost::replace_all(text, "&", "&amp;");
  boost::replace_all(text, "<", "&lt;");
  boost::replace_all(text, ">", "&gt;");
  return text;
}

std::string Number(double number) { return Decimals(number, 2); }

std::string Line(double x1, double y1, double x2, double y2, const std::string& attributes) {
  return fmt::format("<line x1='{}' y1='{}' x2='{}' y2='{}' {}/>\n", Number(x1), Number(y1),
                     Number(x2), Number(y2), attributes);
}

std::string TextElement(double x, double y, const char* style, const std::string& text) {
  return fmt::format("<text x='{}' y='{}' class='{}'>{}</text>\n", Number(x), Number(y), style,
                     Escaped(text));
}

std::string Rectangle(const Panel& panel, const char* attributes) {
  return fmt::format("<rect x='{}' y='{}' width='{}' height='{}'{}/>", Number(kLeft),
                     Number(panel.top), Number(kRight - kLeft), Number(panel.height), attributes);
}

// The smallest of 1, 2, 5 times a power of ten that keeps to `most` steps.
double RoundStep(double span, double most) {
  const double power = std::pow(10, std::floor(std::log10(span / most)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (span / (factor * power) <= most) return factor * power;
  return 10 * power;
}

Range RoundRange(double low, double high, double most) {
  const double step = RoundStep(high - low, most);
  return {std::floor(low / step + 1e-9) * step, std::ceil(high / step - 1e-9) * step, step};
}

Range FrequencyRange(const ResponsePlot& plot) {
  Range range{1e9, 1, 0};
  for (const ResponseCurve& curve : plot.curves) {
    range.low = std::min(range.low, curve.points.front().frequency);
    range.high = std::max(range.high, curve.points.back().frequency);
  }
  return range;
}

Range MagnitudeRange(const ResponsePlot& plot) {
  double low = 0;
  double high = 0;
  for (const ResponseCurve& curve : plot.curves) {
    for (const ResponsePoint& point : curve.points) {
      low = std::min({low, point.ideal_db, point.fixed_db});
      high = std::max({high, point.ideal_db, point.fixed_db});
    }
  }
  low = std::max(low, high - kDeepest);
  const double margin = std::max(1.0, 0.04 * (high - low));
  return RoundRange(std::max(low - margin, high - kDeepest), high + margin, 10);
}

// Returns nullopt where both are silent; infinite where one is an exact zero.
std::optional<double> Error(const ResponsePoint& point) {
  if (point.fixed_db <= kSilence && point.ideal_db <= kSilence) return std::nullopt;
  return point.fixed_db - point.ideal_db;
}

Range ErrorRange(const ResponsePlot& plot) {
  double largest = 0.0045;
  for (const ResponseCurve& curve : plot.curves) {
    for (const ResponsePoint& point : curve.points)
      largest = std::max(largest, std::abs(Error(point).value_or(0)));
  }
  return RoundRange(-1.1 * std::min(largest, 40.0), 1.1 * std::min(largest, 40.0), 4);
}

std::string TickText(double value, double step) {
  const int decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
  const std::string digits = Decimals(std::abs(value), decimals);
  if (std::abs(value) < step / 2) return digits;
  return (value < 0 ? "\u2212" : "+") + digits;
}

void AddFrequencyGrid(const Panel& panel, bool labels, std::string& svg) {
  for (double decade = 1; decade < panel.frequency.high; decade *= 10) {
    for (int digit = 1; digit < 10; ++digit) {
      const double frequency = digit * decade;
      if (frequency < panel.frequency.low || frequency > panel.frequency.high) continue;
      const double x = panel.X(frequency);
      svg += Line(x, panel.top, x, panel.bottom(), digit == 1 ? "class='major'" : "class='minor'");
      if (!labels || (digit != 1 && digit != 2 && digit != 5)) continue;
      const std::string text =
          frequency < 1000 ? Decimals(frequency, 0) : Decimals(frequency / 1000, 0) + "k";
      svg += TextElement(x, panel.bottom() + 18, "tick middle", text);
    }
  }
}

void AddValueGrid(const Panel& panel, const std::string& name, std::string& svg) {
  const Range& values = panel.values;
  const int steps = static_cast<int>(std::lround((values.high - values.low) / values.step));
  for (int i = 0; i <= steps; ++i) {
    const double value = values.low + i * values.step;
    const bool zero = std::abs(value) < values.step / 2;
    svg += Line(kLeft, panel.Y(value), kRight, panel.Y(value),
                zero ? "class='zero'" : "class='minor'");
    svg += TextElement(kLeft - 9, panel.Y(value) + 4, "tick end", TickText(value, values.step));
  }
  svg += fmt::format("<text class='name' transform='translate({} {}) rotate(-90)'>{}</text>\n",
                     Number(24), Number((panel.top + panel.bottom()) / 2), Escaped(name));
}

std::string ClipPath(const Panel& panel, const char* id) {
  return fmt::format("<clipPath id='{}'>{}</clipPath>\n", id, Rectangle(panel, ""));
}

// `value` returns an optional number. The line has a gap where there is none.
template <class Value>
std::string Polyline(const Panel& panel, const ResponseCurve& curve, Value value,
                     const std::string& attributes) {
  // Far outside the frame a line is drawn at its edge: viewers choke on huge coordinates.
  const double reach = panel.values.high - panel.values.low;
  const std::string begin = "<polyline points='";
  const std::string end = "' " + attributes + "/>\n";
  std::string lines;
  bool drawing = false;
  for (const ResponsePoint& point : curve.points) {
    const std::optional<double> number = value(point);
    if (drawing != number.has_value()) lines += drawing ? end : begin;
    drawing = number.has_value();
    if (!drawing) continue;
    const double shown = std::clamp(*number, panel.values.low - reach, panel.values.high + reach);
    lines += fmt::format("{},{} ", Number(panel.X(point.frequency)), Number(panel.Y(shown)));
  }
  return drawing ? lines + end : lines;
}

std::string Stroke(std::size_t curve) {
  return fmt::format("class='fixed' stroke='{}'", kColours[curve % std::size(kColours)]);
}

// Draws the ideal curves below all others.
void AddCurves(const ResponsePlot& plot, const Panel& magnitude, const Panel& error,
               std::string& svg) {
  for (const ResponseCurve& curve : plot.curves) {
    svg += Polyline(
        magnitude, curve, [](const ResponsePoint& point) { return std::optional(point.ideal_db); },
        "class='ideal' clip-path='url(#magnitude)'");
  }
  for (std::size_t i = 0; i < plot.curves.size(); ++i) {
    svg += Polyline(
        magnitude, plot.curves[i],
        [](const ResponsePoint& point) { return std::optional(point.fixed_db); },
        Stroke(i) + " clip-path='url(#magnitude)'");
    svg += Polyline(error, plot.curves[i], Error, Stroke(i) + " clip-path='url(#error)'");
  }
}

std::size_t LegendRows(const ResponsePlot& plot) { return plot.curves.size() / kLegendColumns + 1; }

void AddLegend(const ResponsePlot& plot, double top, std::string& svg) {
  constexpr double kSample = 26;
  std::size_t entries = 0;
  const auto add = [&](const std::string& name, const std::string& attributes) {
    const double x =
        kLeft + (kRight - kLeft) / kLegendColumns * static_cast<double>(entries % kLegendColumns);
    const double y = top + kLineHeight * static_cast<double>(entries / kLegendColumns);
    svg += Line(x + 3, y - 4, x + kSample, y - 4, attributes);
    svg += TextElement(x + kSample + 8, y, "legend", name);
    ++entries;
  };
  add("ideal", "class='ideal'");
  for (std::size_t i = 0; i < plot.curves.size(); ++i) {
    const std::string& name = plot.curves[i].name;
    add(name.empty() ? "quantised" : name, Stroke(i));
  }
}

constexpr char kStyle[] =
    "<style>\n"
    "text{font-family:Helvetica,Arial,'Liberation Sans','DejaVu Sans',sans-serif;fill:#222}\n"
    ".title{font-size:18px;font-weight:bold}\n"
    ".detail{font-size:12.5px;fill:#555}\n"
    ".name{font-size:13px;text-anchor:middle}\n"
    ".tick{font-size:12px;fill:#444}.middle{text-anchor:middle}.end{text-anchor:end}\n"
    ".legend{font-size:12.5px}\n"
    ".minor{stroke:#e6e6e6;stroke-width:1}.major{stroke:#bdbdbd;stroke-width:1}\n"
    ".zero{stroke:#8a8a8a;stroke-width:1}\n"
    ".frame{fill:none;stroke:#444;stroke-width:1.2}\n"
    ".ideal{fill:none;stroke:#c4c4c4;stroke-width:6;stroke-linecap:round;stroke-linejoin:round}\n"
    ".fixed{fill:none;stroke-width:1.8;stroke-linejoin:round}\n"
    "</style>\n";

}  // namespace

std::string DrawResponse(const ResponsePlot& plot) {
  const Range frequency = FrequencyRange(plot);
  const double legend = kTop + 6 + kLineHeight * static_cast<double>(plot.details.size());
  const double top = legend - 6 + kLineHeight * static_cast<double>(LegendRows(plot));
  const Panel magnitude{top, kMagnitudeHeight, frequency, MagnitudeRange(plot)};
  const Panel error{magnitude.bottom() + kGap, kErrorHeight, frequency, ErrorRange(plot)};
  std::string svg = fmt::format(
      "<svg xmlns='http://www.w3.org/2000/svg' width='{0}' height='{1}' viewBox='0 0 {0} {1}'>\n"
      "{2}<defs>{3}{4}</defs>\n<rect width='100%' height='100%' fill='#ffffff'/>\n",
      Number(kWidth), Number(error.bottom() + kFooter), kStyle, ClipPath(magnitude, "magnitude"),
      ClipPath(error, "error"));
  svg += TextElement(kLeft, 36, "title", plot.title);
  for (std::size_t i = 0; i < plot.details.size(); ++i)
    svg +=
        TextElement(kLeft, kTop + kLineHeight * static_cast<double>(i), "detail", plot.details[i]);
  AddFrequencyGrid(magnitude, false, svg);
  AddFrequencyGrid(error, true, svg);
  AddValueGrid(magnitude, "Magnitude in dB", svg);
  AddValueGrid(error, "Error in dB", svg);
  AddCurves(plot, magnitude, error, svg);
  for (const Panel& panel : {magnitude, error}) svg += Rectangle(panel, " class='frame'") + "\n";
  svg += TextElement((kLeft + kRight) / 2, error.bottom() + 42, "name", "Frequency in Hz");
  AddLegend(plot, legend, svg);
  return svg + "</svg>\n";
}

}  // namespace orv::cli
