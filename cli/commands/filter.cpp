// filter butterworth, filter bands, filter bass
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/filter_designs.h"
#include "cli/offline/response_plot.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

constexpr double kLowestFrequency = 10;  // Hz, where responses begin
constexpr double kHighestShare = 0.499;  // of the sample rate, where they end

ResponsePoint PointAt(const QuantisedFilter& filter, double frequency, double rate) {
  return {frequency, filter.ideal.Decibels(frequency, rate),
          filter.fixed.Decibels(frequency, rate)};
}

ResponseCurve CurveOf(const QuantisedFilter& filter, const FilterArguments& arguments, int steps) {
  ResponseCurve curve{filter.name, {}};
  const double ratio = kHighestShare * arguments.rate / kLowestFrequency;
  for (int i = 0; i <= steps; ++i)
    curve.points.push_back(
        PointAt(filter, kLowestFrequency * std::pow(ratio, static_cast<double>(i) / steps),
                arguments.rate));
  return curve;
}

struct Judgement {
  Deviation worst{kLowestFrequency, 0};
  ResponsePoint at{kLowestFrequency, 0, 0};  // there
  double pole_radius = 0;
};
bool IsSilent(double decibels) { return decibels <= kSilence; }
// Whether the largest error ends in silence, so that its size says nothing.
bool IsUnmeasured(const Judgement& judgement) {
  return IsSilent(judgement.at.ideal_db) || IsSilent(judgement.at.fixed_db);
}

// The names of the filters whose words let nothing pass, "" for that of a design with one filter.
std::vector<std::string> SilentFilters(const FilterDesign& design,
                                       const FilterArguments& arguments) {
  constexpr int kSteps = 100;
  std::vector<std::string> names;
  for (const QuantisedFilter& filter : design.filters) {
    const ResponseCurve curve = CurveOf(filter, arguments, kSteps);
    if (std::all_of(curve.points.begin(), curve.points.end(),
                    [](const ResponsePoint& point) { return IsSilent(point.fixed_db); }))
      names.push_back(filter.name);
  }
  return names;
}

Judgement Judge(const FilterDesign& design, const FilterArguments& arguments) {
  Judgement judgement;
  for (const QuantisedFilter& filter : design.filters) {
    const Deviation found = LargestDeviation(filter.ideal, filter.fixed, arguments.rate,
                                             kLowestFrequency, kHighestShare * arguments.rate);
    if (std::abs(found.decibels) > std::abs(judgement.worst.decibels)) {
      judgement.worst = found;
      judgement.at = PointAt(filter, found.frequency, arguments.rate);
    }
    judgement.pole_radius = std::max(judgement.pole_radius, filter.fixed.PoleRadius());
  }
  return judgement;
}

std::string DecibelText(double decibels, int decimals, const char* unit) {
  return IsSilent(decibels) ? "silent" : Decimals(decibels, decimals) + unit;
}

Json WorstJson(const Judgement& judgement) {
  const auto level = [](double decibels) { return IsSilent(decibels) ? Json() : Json(decibels); };
  return {{"frequency", judgement.worst.frequency},
          {"db", IsUnmeasured(judgement) ? Json() : Json(judgement.worst.decibels)},
          {"ideal_db", level(judgement.at.ideal_db)},
          {"fixed_db", level(judgement.at.fixed_db)}};
}

std::string WorstText(const Judgement& judgement) {
  const std::string what = "Largest error after quantising: ";
  if (std::abs(judgement.worst.decibels) < 0.0001) return what + "below 0.0001 dB";
  const std::string place = " at " + HertzText(judgement.worst.frequency);
  if (IsUnmeasured(judgement)) {
    return what + DecibelText(judgement.at.fixed_db, 4, " dB") + " instead of " +
           DecibelText(judgement.at.ideal_db, 4, " dB") + place;
  }
  return what + Decimals(judgement.worst.decibels, 4) + " dB" + place;
}

std::string PoleText(const Judgement& judgement) {
  return "Largest pole radius: " + Decimals(judgement.pole_radius, 6) +
         (judgement.pole_radius < 1 ? " (stable)" : " (UNSTABLE)");
}

Json ResponseJson(const FilterDesign& design, const FilterArguments& arguments) {
  constexpr int kSteps = 240;
  Json response = Json::array();
  for (const QuantisedFilter& filter : design.filters) {
    for (const ResponsePoint& point : CurveOf(filter, arguments, kSteps).points) {
      Json entry = {{"frequency", point.frequency},
                    {"ideal_db", point.ideal_db},
                    {"fixed_db", point.fixed_db}};
      if (!filter.name.empty()) entry["filter"] = filter.name;
      response.push_back(std::move(entry));
    }
  }
  return response;
}

void ShowWords(const FilterDesign& design, Output& output) {
  const auto rows = static_cast<std::size_t>(design.words_in_row);
  Table table(rows == 6 ? std::vector<Table::Column>{{"SECTION"},
                                                     {"SHIFT", Align::Right},
                                                     {"B0", Align::Right},
                                                     {"B1", Align::Right},
                                                     {"B2", Align::Right},
                                                     {"A1", Align::Right},
                                                     {"A2", Align::Right}}
                        : std::vector<Table::Column>(rows + 1, Table::Column{"", Align::Right}));
  const char* const names[] = {"audio", "analysis", "all-pass"};
  for (std::size_t begin = 0; begin < design.words.size(); begin += rows) {
    const std::size_t end = std::min(begin + rows, design.words.size());
    std::vector<Cell> cells;
    if (rows == 6) {
      cells.emplace_back(end - begin == rows ? std::to_string(begin / rows + 1) : "gain");
    } else {
      cells.emplace_back(names[begin / rows]);
    }
    for (std::size_t i = begin; i < end; ++i)
      cells.emplace_back(std::to_string(design.words[i]), ansi::kAccent);
    table.Add(std::move(cells));
  }
  output.Show(table);
}

void ShowResponse(const FilterDesign& design, const FilterArguments& arguments, Output& output) {
  constexpr double kThirdOctaves[] = {1, 1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3, 8};
  for (const QuantisedFilter& filter : design.filters) {
    output.Line("");
    if (!filter.name.empty()) output.Line(filter.name);
    Table table({{"FREQUENCY", Align::Right},
                 {"IDEAL dB", Align::Right},
                 {"QUANTISED dB", Align::Right},
                 {"ERROR dB", Align::Right}});
    for (std::size_t i = 0;; ++i) {
      const double decade = std::pow(10, i / std::size(kThirdOctaves));
      const double frequency =
          kLowestFrequency * decade * kThirdOctaves[i % std::size(kThirdOctaves)];
      if (frequency > kHighestShare * arguments.rate) break;
      const ResponsePoint point = PointAt(filter, frequency, arguments.rate);
      const bool measured = !IsSilent(point.ideal_db) && !IsSilent(point.fixed_db);
      table.Add({HertzText(frequency), DecibelText(point.ideal_db, 3, ""),
                 DecibelText(point.fixed_db, 3, ""),
                 measured ? Decimals(point.fixed_db - point.ideal_db, 4) : ""});
    }
    output.Show(table);
  }
}

void WriteDrawing(const FilterDesign& design, const FilterArguments& arguments,
                  const Judgement& judgement) {
  constexpr int kSteps = 1000;
  ResponsePlot plot{design.title, design.details, {}};
  plot.details.push_back(WorstText(judgement) + ".  " + PoleText(judgement) +
                         ".  Sample rate: " + HertzText(arguments.rate) + ".");
  for (const QuantisedFilter& filter : design.filters)
    plot.curves.push_back(CurveOf(filter, arguments, kSteps));
  ReplaceFile(arguments.svg, DrawResponse(plot));
}

void Present(Context& context, const FilterDesign& design, const FilterArguments& arguments) {
  Output& output = context.output;
  const bool judged = arguments.response || !arguments.svg.empty();
  const Judgement judgement = Judge(design, arguments);
  Json json = {{"status", design.status}, {"words", design.words}};
  if (design.status != kFilterOk) {
    if (output.json()) output.Value(json);
    throw Failure(kRefused, "the design was refused with status " + std::to_string(design.status) +
                                ": " + design.refusal + ".");
  }
  if (!arguments.svg.empty()) WriteDrawing(design, arguments, judgement);
  const std::vector<std::string> silent = SilentFilters(design, arguments);
  for (const std::string& name : silent) {
    output.Notice("The words" + (name.empty() ? "" : " of the " + name) +
                  " let nothing pass: the quantised filter is silent.");
  }
  json["silent"] = !silent.empty();
  if (output.json()) {
    if (judged) {
      json["response"] = ResponseJson(design, arguments);
      json["worst"] = WorstJson(judgement);
      json["pole_radius"] = judgement.pole_radius;
    }
    return output.Value(json);
  }
  output.Line(design.title);
  ShowWords(design, output);
  if (!judged) return;
  if (arguments.response) ShowResponse(design, arguments, output);
  output.Line("");
  output.Line(WorstText(judgement) + ".");
  output.Line(PoleText(judgement) + ".");
  if (!arguments.svg.empty()) output.Line("Drawn in " + arguments.svg + ".");
}

void AddSharedOptions(CLI::App& command, FilterArguments& arguments) {
  command.add_option("--rate", arguments.rate, "Sample rate in Hz")
      ->capture_default_str()
      ->check(CLI::Range(100, 10000000));
  command.add_flag("--response", arguments.response,
                   "The response after quantising beside the ideal one");
  command.add_option("--svg", arguments.svg, "Draw both into this file");
}

// The comparisons that a range is made of let pass what is not a number.
CLI::Validator NumberAboveZero() {
  return CLI::Validator(
      [](const std::string& text) {
        double value = 0;
        if (CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0)
          return std::string();
        return "\"" + text + "\" is not a number above zero";
      },
      "", "");
}

}  // namespace

void AddFilterCommands(CLI::App& app, Context& context) {
  CLI::App* filter = AddCommand(app, "filter", "Fixed-point filters, as the DSP receives them",
                                "orvctl filter butterworth --order 4 --frequency 60 --response");
  filter->require_subcommand(1);
  const auto arguments = std::make_shared<FilterArguments>();
  const auto add = [&](const std::string& name, const std::string& description,
                       const std::string& example, const std::string& details,
                       FilterDesign (*design)(const FilterArguments&)) {
    CLI::App* command = AddCommand(*filter, name, description, example, details);
    command->callback(
        [&context, arguments, design] { Present(context, design(*arguments), *arguments); });
    return command;
  };
  const CLI::Validator number = NumberAboveZero();
  const CLI::Range size(1.0, 1e6);
  CLI::App* butterworth = add("butterworth", "A Butterworth high-pass or low-pass",
                              "orvctl filter butterworth --order 4 --frequency 60 --bits 16 --svg "
                              "highpass.svg",
                              "", DesignButterworth);
  butterworth->add_option("--order", arguments->order, "Order")
      ->required()
      ->check(CLI::Range(1, 200));
  butterworth->add_option("--frequency", arguments->frequency, "Corner in Hz")
      ->required()
      ->check(number);
  butterworth->add_option("--kind", arguments->kind, "highpass or lowpass")
      ->capture_default_str()
      ->check(CLI::IsMember({"lowpass", "highpass"}));
  butterworth->add_option("--bits", arguments->bits, "Bits in a word")
      ->capture_default_str()
      ->check(CLI::IsMember({16, 32}));

  CLI::App* bands = add(
      "bands", "A cascade of parametric bands",
      "orvctl filter bands traditional,50,3,-12 peaking,1000,2,6 --response",
      "A band is type,frequency,q,gain_db[,invert] with the frequency in Hz; its type is a\n"
      "number or one of traditional, lowshelf, highshelf, lowpass, highpass, bandpass, allpass,\n"
      "notch, peaking, gain. For lowpass and highpass the gain is the resonance.",
      DesignBands);
  bands->add_option("BAND", arguments->bands, "Bands in the order of their sections")->required();

  CLI::App* bass = add("bass", "The bass-enhancement filters for two loudspeaker sizes",
                       "orvctl filter bass --audio 185 --analysis 165", "", DesignBass);
  bass->add_option("--audio", arguments->audio, "Audio size in Hz")
      ->required()
      ->check(number)
      ->check(size);
  bass->add_option("--analysis", arguments->analysis, "Analysis size in Hz")
      ->required()
      ->check(number)
      ->check(size);
  for (CLI::App* command : {butterworth, bands, bass}) AddSharedOptions(*command, *arguments);
}

}  // namespace orv::cli
