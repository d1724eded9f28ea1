// filter butterworth, filter bands, filter bass
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/filter_designs.h"
#include "cli/offline/filter_response.h"
#include "cli/offline/response_plot.h"
#include "cli/show/scale.h"

namespace orv::cli {
namespace {

// The effect of quantising on the response of a design.
struct ResponseError {
  LargestError largest;  // of all its filters
  double pole_radius = 0;

  ResponseError(const FilterDesign& design, const FilterArguments& arguments) {
    for (const QuantisedFilter& filter : design.filters) {
      const LargestError found = FindLargestError(filter.ideal, filter.fixed, arguments.rate);
      if (std::abs(found.worst.decibels) > std::abs(largest.worst.decibels)) largest = found;
      pole_radius = std::max(pole_radius, filter.fixed.PoleRadius());
    }
  }

  std::string WorstText() const {
    return fmt::format("Largest error after quantising: {}.", LargestErrorText(largest));
  }
  std::string PoleText() const {
    return fmt::format("Largest pole radius: {} ({}).", Decimals(pole_radius, 6),
                       pole_radius < 1 ? "stable" : "UNSTABLE");
  }
};

// The names of the filters whose words let no sound pass, "" for that of a design with one filter.
std::vector<std::string> SilentFilters(const FilterDesign& design,
                                       const FilterArguments& arguments) {
  std::vector<std::string> names;
  for (const QuantisedFilter& filter : design.filters)
    if (IsSilent(filter.fixed, arguments.rate)) names.push_back(filter.name);
  return names;
}

Json ResponseJson(const FilterDesign& design, const FilterArguments& arguments) {
  constexpr int kSteps = 240;
  Json response = Json::array();
  for (const QuantisedFilter& filter : design.filters) {
    for (const double frequency : ResponseFrequencies(kSteps, arguments.rate)) {
      const ResponsePoint point = PointAt(filter.ideal, filter.fixed, frequency, arguments.rate);
      Json entry = {{"frequency", point.frequency},
                    {"ideal_db", point.ideal_db},
                    {"fixed_db", point.fixed_db}};
      if (!filter.name.empty()) entry["filter"] = filter.name;
      response.push_back(std::move(entry));
    }
  }
  return response;
}

// A section in each row.
Table CascadeTable(const std::vector<std::int32_t>& words, std::size_t in_row) {
  Table table({{"SECTION"},
               {"SHIFT", Align::Right},
               {"B0", Align::Right},
               {"B1", Align::Right},
               {"B2", Align::Right},
               {"A1", Align::Right},
               {"A2", Align::Right}});
  for (std::size_t begin = 0; begin < words.size(); begin += in_row) {
    const std::size_t end = std::min(begin + in_row, words.size());
    std::vector<Cell> cells{end - begin == in_row ? std::to_string(begin / in_row + 1) : "gain"};
    for (std::size_t i = begin; i < end; ++i)
      cells.emplace_back(std::to_string(words[i]), ansi::kAccent);
    table.Add(std::move(cells));
  }
  return table;
}

// A filter in each column: their words are not those of sections.
Table BassTable(const std::vector<std::int32_t>& words, std::size_t in_filter) {
  Table table({{"WORD", Align::Right},
               {"AUDIO", Align::Right},
               {"ANALYSIS", Align::Right},
               {"ALL-PASS", Align::Right}});
  for (std::size_t row = 0; row < in_filter; ++row) {
    std::vector<Cell> cells{std::to_string(row + 1)};
    for (std::size_t i = row; i < words.size(); i += in_filter)
      cells.emplace_back(std::to_string(words[i]), ansi::kAccent);
    table.Add(std::move(cells));
  }
  return table;
}

void ShowWords(const FilterDesign& design, Output& output) {
  constexpr std::size_t kInSection = 6;
  const auto in_row = static_cast<std::size_t>(design.words_in_row);
  output.Show(in_row == kInSection ? CascadeTable(design.words, in_row)
                                   : BassTable(design.words, in_row));
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
      const ResponsePoint point = PointAt(filter.ideal, filter.fixed, frequency, arguments.rate);
      const bool measured = !IsSilent(point.ideal_db) && !IsSilent(point.fixed_db);
      table.Add({HertzText(frequency), DecibelText(point.ideal_db, 3, ""),
                 DecibelText(point.fixed_db, 3, ""),
                 measured ? Decimals(point.fixed_db - point.ideal_db, 4) : ""});
    }
    output.Show(table);
  }
}

void WriteDrawing(const FilterDesign& design, const FilterArguments& arguments,
                  const ResponseError& error) {
  ResponsePlot plot;
  plot.title = design.title;
  plot.details = design.details;
  plot.details.push_back(fmt::format("{}  {}  Sample rate: {}.", error.WorstText(),
                                     error.PoleText(), HertzText(arguments.rate)));
  plot.rate = arguments.rate;
  for (const QuantisedFilter& filter : design.filters)
    plot.curves.push_back({filter.name, filter.ideal, filter.fixed, std::nullopt});
  plot.warnings = CurveWarnings(plot.curves, plot.rate);
  plot.marks = design.marks;
  ReplaceFile(arguments.svg, DrawResponse(plot));
}

void Present(Context& context, const FilterDesign& design, const FilterArguments& arguments) {
  Output& output = context.output;
  Json json = {{"status", design.status}, {"words", design.words}};
  if (design.status != kFilterOk) {
    if (output.json()) output.Value(json);
    throw Failure(kRefused, "the design was refused with status {}: {}.", design.status,
                  design.refusal);
  }
  const bool is_compared = arguments.response || !arguments.svg.empty();
  const ResponseError error(design, arguments);
  if (!arguments.svg.empty()) WriteDrawing(design, arguments, error);
  const std::vector<std::string> silent = SilentFilters(design, arguments);
  for (const std::string& name : silent) {
    output.Notice(fmt::format("The words{} let no sound pass: the quantised filter is silent.",
                              name.empty() ? "" : " of the " + name));
  }
  json["silent"] = !silent.empty();
  if (output.json()) {
    if (is_compared) {
      json["response"] = ResponseJson(design, arguments);
      json["worst"] = ToJson(error.largest);
      json["pole_radius"] = error.pole_radius;
    }
    return output.Value(json);
  }
  output.Line(design.title);
  ShowWords(design, output);
  if (!is_compared) return;
  if (arguments.response) ShowResponse(design, arguments, output);
  output.Line("");
  output.Line(error.WorstText());
  output.Line(error.PoleText());
  if (!arguments.svg.empty()) output.Line("Drawn in " + arguments.svg + ".");
}

// Designs, then presents.
template <FilterDesign (*kDesign)(const FilterArguments&)>
void Filter(Context& context, const FilterArguments& arguments) {
  Present(context, kDesign(arguments), arguments);
}

constexpr char kFilterJson[] =
    "{status, words, silent}; with --response or --svg also response [{frequency, ideal_db, "
    "fixed_db, filter}], worst {frequency, db} and pole_radius";

}  // namespace

void AddFilterCommands(CLI::App& app, Context& context) {
  CLI::App& filter =
      AddGroup(app, {"filter", "Design fixed-point filters, as the DSP receives them",
                     "orvctl filter butterworth --order 4 --frequency 60 --response"});
  const auto arguments = std::make_shared<FilterArguments>();
  CLI::App& butterworth =
      AddCommand(filter, context, arguments, Filter<DesignButterworth>,
                 {"butterworth", "Design a Butterworth high-pass or low-pass",
                  "orvctl filter butterworth --order 4 --frequency 60 --bits 16 --svg filter.svg",
                  "", kFilterJson});
  butterworth.add_option("--order", arguments->order, "The order of the filter")
      ->required()
      ->check(WholeNumberWithin(1, 200));
  butterworth.add_option("--frequency", arguments->frequency, "The corner frequency")
      ->required()
      ->check(NumberWithin(kAboveZero, std::numeric_limits<float>::max(), "a frequency above 0 Hz",
                           "HZ"));
  butterworth.add_option("--kind", arguments->kind, "What the filter passes")
      ->capture_default_str()
      ->check(OneOf({"lowpass", "highpass"}));
  butterworth.add_option("--bits", arguments->bits, "Bits of a word")
      ->capture_default_str()
      ->check(OneOf({"16", "32"}));

  CLI::App& bands = AddCommand(
      filter, context, arguments, Filter<DesignBands>,
      {"bands", "Design a cascade of parametric bands",
       "orvctl filter bands traditional,50,3,-12 peaking,1000,2,6 --response",
       "A band is type,frequency,q,gain with the frequency in Hz and the gain in dB; a fifth "
       "element 1 inverts it. The type is a number or one of traditional, lowshelf, highshelf, "
       "lowpass, highpass, bandpass, allpass, notch, peaking, gain. For lowpass and highpass the "
       "gain is the resonance.",
       kFilterJson});
  bands.add_option("BAND", arguments->bands, "A band: type,frequency,q,gain")->required();

  CLI::App& bass =
      AddCommand(filter, context, arguments, Filter<DesignBass>,
                 {"bass", "Design the bass-enhancement filters for two loudspeaker sizes",
                  "orvctl filter bass --audio 185 --analysis 165", "", kFilterJson});
  const CLI::Validator size = NumberWithin(1, 1e6, "a size from 1 to 1000000 Hz", "HZ");
  bass.add_option("--audio", arguments->audio, "The loudspeaker's size for the sound")
      ->required()
      ->check(size);
  bass.add_option("--analysis", arguments->analysis, "The loudspeaker's size for the analysis")
      ->required()
      ->check(size);
  for (CLI::App* command : {&butterworth, &bands, &bass}) {
    command->add_option("--rate", arguments->rate, "The sample rate in Hz")
        ->capture_default_str()
        ->check(WholeNumberWithin(100, 10000000));
    command->add_flag("--response", arguments->response,
                      "Print the response after quantising beside the ideal one");
    command->add_option("--svg", arguments->svg, "Draw both responses into this file")
        ->type_name("FILE");
  }
}

}  // namespace orv::cli
