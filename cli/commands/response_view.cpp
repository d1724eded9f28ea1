#include "cli/commands/response_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

#include "cli/client/dsp_objects.h"
#include "cli/client/host.h"
#include "cli/offline/filter_response.h"
#include "cli/show/braille_plot.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "cli/show/scale.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

// What the DSP holds is drawn by itself only if it differs visibly.
constexpr double kVisible = 0.01;  // dB
constexpr const char* kCurveColours[] = {"\x1b[36m", "\x1b[33m", "\x1b[32m", "\x1b[35m",
                                         "\x1b[34m", "\x1b[96m", "\x1b[93m"};
constexpr char kCurveMarks[] = {'*', '+', 'x', 'o', '@', '%', '&'};
constexpr char kIdealMark = ':';
constexpr char kHeldMark = '#';

LargestError Between(const Cascade& from, const Cascade& to) {
  return FindLargestError(from, to, kDspRate);
}

bool HoldsOther(const FilterForms& forms) {
  return forms.planned && forms.held &&
         !(std::abs(Between(*forms.planned, *forms.held).worst.decibels) < kVisible);
}

// A quantity of a response, NaN where there is none.
using CurveValue = double (*)(const Cascade& filter, double frequency);

double Decibels(const Cascade& filter, double frequency) {
  return filter.Decibels(frequency, kDspRate);
}
double Phase(const Cascade& filter, double frequency) {
  return IsSilent(Decibels(filter, frequency)) ? NAN : filter.Phase(frequency, kDspRate);
}
double GroupDelay(const Cascade& filter, double frequency) {
  if (IsSilent(Decibels(filter, frequency))) return NAN;
  return 1000 * filter.GroupDelay(frequency, kDspRate) / kDspRate;
}

std::vector<TextCurve> TextCurves(const FilterGroup& group, CurveValue quantity) {
  std::vector<TextCurve> curves;
  const auto add = [&](const Cascade& filter, const char* colour, char mark) {
    curves.push_back({[&filter, quantity](double frequency) { return quantity(filter, frequency); },
                      colour, mark});
  };
  for (const ModeFilter& filter : group.filters)
    if (filter.forms.ideal) add(*filter.forms.ideal, ansi::kDim, kIdealMark);
  for (const ModeFilter& filter : group.filters)
    if (HoldsOther(filter.forms)) add(*filter.forms.held, ansi::kBad, kHeldMark);
  for (std::size_t i = 0; i < group.filters.size(); ++i)
    if (group.filters[i].forms.planned)
      add(*group.filters[i].forms.planned, kCurveColours[i % std::size(kCurveColours)],
          kCurveMarks[i % std::size(kCurveMarks)]);
  return curves;
}

struct Span {
  double low = HUGE_VAL;
  double high = -HUGE_VAL;
};
Span SpanOf(const std::vector<TextCurve>& curves) {
  constexpr int kSteps = 300;
  Span span;
  for (const double frequency : ResponseFrequencies(kSteps, kDspRate)) {
    for (const TextCurve& curve : curves) {
      const double value = curve.value(frequency);
      if (!std::isfinite(value)) continue;
      span.low = std::min(span.low, value);
      span.high = std::max(span.high, value);
    }
  }
  return span;
}

TextPlot TextPlotOf(const FilterGroup& group) {
  constexpr double kDeepest = 60;   // dB below the highest point
  constexpr double kLongest = 500;  // ms
  constexpr int kMagnitudeRows = 13;
  constexpr int kOtherRows = 5;
  TextPlot plot{kLowestFrequency, kHighestShare * kDspRate, {}};
  TextPanel magnitude{"Magnitude in dB", {}, kMagnitudeRows, false, TextCurves(group, Decibels)};
  const Span levels = SpanOf(magnitude.curves);
  const double high = std::max(levels.high, 0.0) + 0.5;
  magnitude.values =
      RoundRange(std::max(std::min(levels.low, 0.0) - 0.5, high - kDeepest), high, 6);
  plot.panels.push_back(std::move(magnitude));
  plot.panels.push_back(
      {"Phase in degrees", {-180, 180, 90}, kOtherRows, true, TextCurves(group, Phase)});
  TextPanel delay{"Group delay in ms", {}, kOtherRows, false, TextCurves(group, GroupDelay)};
  const Span delays = SpanOf(delay.curves);
  delay.values = RoundRange(std::max(std::min(delays.low, 0.0), -kLongest),
                            std::clamp(delays.high, 0.01, kLongest), 2);
  plot.panels.push_back(std::move(delay));
  return plot;
}

void ShowLegend(Output& output, const FilterGroup& group, bool braille) {
  const std::string margin(7, ' ');
  std::string line = margin;
  std::size_t width = margin.size();
  const auto add = [&](const std::string& name, const char* colour, char mark) {
    const std::size_t wide = name.size() + 4;
    if (width + wide >= static_cast<std::size_t>(OutputColumns())) {
      output.Line(line);
      line = margin;
      width = margin.size();
    }
    line += "  " + output.Painted(braille ? std::string("\u2501") : std::string(1, mark), colour) +
            " " + name;
    width += wide;
  };
  bool ideal = false;
  bool other = false;
  for (std::size_t i = 0; i < group.filters.size(); ++i) {
    const FilterForms& forms = group.filters[i].forms;
    if (forms.planned)
      add(group.filters[i].name, kCurveColours[i % std::size(kCurveColours)],
          kCurveMarks[i % std::size(kCurveMarks)]);
    ideal = ideal || forms.ideal;
    other = other || HoldsOther(forms);
  }
  if (ideal) add("ideal", ansi::kDim, kIdealMark);
  if (other) add("in the DSP", ansi::kBad, kHeldMark);
  output.Line(line);
}

void ShowErrors(Output& output, const FilterGroup& group) {
  Table table({{"FILTER"}, {"LARGEST ERROR AFTER QUANTISING"}, {"DSP AGAINST MODE"}});
  for (const ModeFilter& filter : group.filters) {
    const FilterForms& forms = filter.forms;
    std::string quantising = "cannot be sent";
    if (forms.planned)
      quantising =
          forms.ideal ? LargestErrorText(Between(*forms.ideal, *forms.planned)) : "a built-in set";
    std::string held = "not read";
    if (forms.planned && forms.held) held = LargestErrorText(Between(*forms.planned, *forms.held));
    table.Add({filter.name, quantising, Cell(held, HoldsOther(forms) ? ansi::kBad : nullptr)});
  }
  output.Show(table, 2);
}

std::vector<ResponseCurve> CurvesOf(const FilterGroup& group) {
  std::vector<ResponseCurve> curves;
  for (const ModeFilter& filter : group.filters)
    curves.push_back({filter.name, filter.forms.ideal, filter.forms.planned, filter.forms.held});
  return curves;
}

void ShowGroup(Output& output, const FilterGroup& group) {
  const bool braille = OutputShowsUtf8();
  output.Line(output.Painted(group.name, ansi::kBold));
  const bool drawable = std::ranges::any_of(
      group.filters, [](const ModeFilter& filter) { return filter.forms.planned.has_value(); });
  if (drawable) {
    // The last column stays free: some terminals break the line there.
    for (const std::string& line :
         DrawPlot(TextPlotOf(group), OutputColumns() - 1, braille, output))
      output.Line(line);
    ShowLegend(output, group, braille);
  }
  for (const std::string& warning : CurveWarnings(CurvesOf(group), kDspRate))
    output.Line("  " + output.Painted(warning, ansi::kBad));
  ShowErrors(output, group);
}

void ShowGains(Output& output, const GainGroup& group) {
  output.Line(output.Painted(group.name, ansi::kBold) +
              " (gain points; the curve is the firmware's own" +
              (group.on ? ")" : "; switched off)"));
  Table table({{"CONTROL"}, {"MODE", Align::Right}, {"DSP", Align::Right}});
  for (const GainPoint& point : group.points)
    table.Add({point.control, Cell(point.planned, ansi::kAccent),
               Cell(point.held.empty() ? "-" : point.held,
                    point.held.empty() || point.held == point.planned ? nullptr : ansi::kBad)});
  output.Show(table, 2);
}

std::optional<double> NumberAt(const std::string& text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest != text.data() ? std::optional(number) : std::nullopt;
}

Json FiniteJson(double number) { return std::isfinite(number) ? Json(number) : Json(); }

Json PointJson(const std::optional<Cascade>& filter, double frequency) {
  if (!filter) return nullptr;
  return {{"db", DecibelJson(Decibels(*filter, frequency))},
          {"phase_degrees", FiniteJson(Phase(*filter, frequency))},
          {"group_delay_ms", FiniteJson(GroupDelay(*filter, frequency))}};
}

Json ErrorJson(const std::optional<Cascade>& from, const std::optional<Cascade>& to) {
  if (!from || !to) return nullptr;
  const LargestError error = Between(*from, *to);
  return {{"frequency", error.worst.frequency},
          {"db", error.ends_in_silence() ? Json() : DecibelJson(error.worst.decibels)}};
}

Json ToJson(const ModeFilter& filter) {
  constexpr int kSteps = 240;
  const FilterForms& forms = filter.forms;
  Json points = Json::array();
  for (const double frequency : ResponseFrequencies(kSteps, kDspRate))
    points.push_back({{"frequency", frequency},
                      {"ideal", PointJson(forms.ideal, frequency)},
                      {"quantised", PointJson(forms.planned, frequency)},
                      {"dsp", PointJson(forms.held, frequency)}});
  return {{"name", filter.name},
          {"quantising_error", ErrorJson(forms.ideal, forms.planned)},
          {"dsp_error", ErrorJson(forms.planned, forms.held)},
          {"pole_radius", forms.planned ? FiniteJson(forms.planned->PoleRadius()) : Json()},
          {"silent", forms.planned ? Json(IsSilent(*forms.planned, kDspRate)) : Json()},
          {"points", std::move(points)}};
}

}  // namespace

ModeFilters FiltersOf(Context& context, const Endpoint& endpoint, const Mode& mode,
                      const std::string& channel,
                      const std::map<std::string, std::int32_t>& changed) {
  // The list of unreadable controls depends on the driver; the suite does not.
  DspControlMap controls = DspControls(kSkylakeDriver, mode, kORVAPO_Cont_Public);
  const std::string driver = DriverOfControls(controls);
  if (driver.empty())
    throw Failure(kRefused, ModeLabel(mode.name()) + " has no controls of a DSP, so no filters.");
  if (driver == kQualcommDriver) controls = DspControls(driver, mode, kORVAPO_Cont_Public);
  for (const auto& [name, value] : changed) controls[NameFromUtf8(name)] = value;
  const std::string found = FindDriver(endpoint);
  if (found == driver) {
    DspReadback readback(context.session().machine(), endpoint.id());
    return ReadModeFilters(driver, controls, channel, &readback);
  }
  ModeFilters filters = ReadModeFilters(driver, controls, channel, nullptr);
  filters.notes.push_back(fmt::format(
      "No {} driver answers for this endpoint: the picture shows what one would receive.", driver));
  return filters;
}

void ShowFilters(Output& output, const ModeFilters& filters) {
  for (const FilterGroup& group : filters.groups) ShowGroup(output, group);
  for (const GainGroup& group : filters.gains) ShowGains(output, group);
  for (const std::string& note : filters.notes) output.Line(Printable(note));
}

ResponsePlot PlotOf(const ModeFilters& filters, const std::string& title) {
  ResponsePlot plot;
  plot.title = title;
  plot.rate = kDspRate;
  plot.gains_name = "graphic equaliser: gain points";
  for (const FilterGroup& group : filters.groups) {
    for (const ResponseCurve& curve : CurvesOf(group)) {
      std::string line = curve.name + ": ";
      if (curve.ideal && curve.fixed)
        line += "largest error after quantising " +
                LargestErrorText(Between(*curve.ideal, *curve.fixed)) + ".  ";
      if (curve.fixed && curve.held)
        line += "DSP against mode " + LargestErrorText(Between(*curve.fixed, *curve.held)) + ".";
      plot.details.push_back(line);
      plot.curves.push_back(curve);
    }
    if (&group != &filters.groups.front()) continue;  // the marks of several would be mixed up
    for (const FilterMark& mark : group.marks) plot.marks.push_back({mark.frequency, mark.text});
  }
  plot.warnings = CurveWarnings(plot.curves, kDspRate);
  plot.details.insert(plot.details.end(), filters.notes.begin(), filters.notes.end());
  for (const GainGroup& group : filters.gains) {
    for (const GainPoint& point : group.points) {
      const std::optional<double> decibels = NumberAt(point.planned);
      if (group.on && point.frequency && decibels)
        plot.gains.push_back({*point.frequency, *decibels});
    }
  }
  return plot;
}

Json ToJson(const ModeFilters& filters) {
  Json groups = Json::array();
  for (const FilterGroup& group : filters.groups) {
    Json members = Json::array();
    for (const ModeFilter& filter : group.filters) members.push_back(ToJson(filter));
    groups.push_back({{"name", group.name}, {"filters", std::move(members)}});
  }
  Json points = Json::array();
  for (const GainGroup& group : filters.gains) {
    for (const GainPoint& point : group.points) {
      const auto number = [](const std::optional<double>& value) {
        return value ? Json(*value) : Json();
      };
      points.push_back({{"group", group.name},
                        {"enabled", group.on},
                        {"control", point.control},
                        {"frequency", number(point.frequency)},
                        {"gain_db", number(NumberAt(point.planned))},
                        {"dsp_gain_db", number(NumberAt(point.held))}});
    }
  }
  return {{"groups", std::move(groups)}, {"gain_points", std::move(points)}};
}

}  // namespace orv::cli
