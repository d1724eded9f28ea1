// filter butterworth, filter bands, filter bass
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <utility>

#include "cli/commands.h"
#include "cli/files.h"
#include "cli/response_plot.h"
#include "cli/select.h"
#include "dsp_math/cascade_response.h"
#include "dsp_math/filter_design.h"

namespace orv::cli {
namespace {

struct Arguments {
  float frequency = 0;
  std::int32_t order = 0;
  std::string kind = "highpass";
  int bits = 32;
  std::vector<std::string> bands;
  float audio = 0;
  float analysis = 0;
  std::int32_t rate = 48000;
  bool response = false;
  std::string svg;
};

// What a design made, and the same filter before quantising.
struct Filter {
  std::string name;
  Cascade ideal;
  Cascade fixed;
};

struct Design {
  std::int32_t status = kFilterOk;
  std::string title;
  std::vector<std::string> details;  // lines under the title of a drawing
  std::string refusal;               // why, when the status says so
  std::vector<std::int32_t> words;
  std::vector<Filter> filters;
  int words_in_row = 6;
};

constexpr std::array<const char*, 10> kTypeNames{"traditional", "lowshelf", "highshelf", "lowpass",
                                                 "highpass",    "bandpass", "allpass",   "notch",
                                                 "peaking",     "gain"};
constexpr double kLowest = 10;           // Hz, where responses begin
constexpr double kHighestShare = 0.499;  // of the sample rate, where they end

template <class Word>
void DesignButterworthWords(const Arguments& arguments, std::int32_t kind, Design& design) {
  const std::size_t sections = ButterworthSections(arguments.order);
  std::vector<char> workspace(FilterWorkspace(sections));
  std::vector<Word> words(FilterWords(sections));
  std::vector<FilterSection> ideal(sections);
  if constexpr (sizeof(Word) == 2) {
    design.status = DesignButterworth16(arguments.frequency, arguments.order, arguments.rate, kind,
                                        words.data(), workspace.data());
  } else {
    design.status = DesignButterworth32(arguments.frequency, arguments.order, arguments.rate, kind,
                                        words.data(), workspace.data());
  }
  if (design.status != kFilterOk) return;
  DesignButterworthSections(arguments.frequency, arguments.order, arguments.rate, kind,
                            ideal.data());
  design.words.assign(words.begin(), words.end());
  design.filters.push_back(
      {"", Cascade(ideal.data(), sections), Cascade::FromWords(words.data(), sections)});
}

std::string AtHalfTheRate(const std::string& what, double frequency, std::int32_t rate) {
  return what + " of " + HertzText(frequency) + " is not below " + HertzText(rate / 2) +
         ", half the sample rate";
}

Design DesignButterworth(const Arguments& arguments) {
  Design design;
  const bool high_pass = arguments.kind == "highpass";
  design.title = std::string("Butterworth ") + (high_pass ? "high-pass" : "low-pass") +
                 " of order " + std::to_string(arguments.order) + " at " +
                 HertzText(arguments.frequency) + ", " + std::to_string(arguments.bits) + " bits";
  const std::int32_t kind = high_pass ? kButterworthHighPass : kButterworthLowPass;
  if (arguments.bits == 16) {
    DesignButterworthWords<std::int16_t>(arguments, kind, design);
  } else {
    DesignButterworthWords<std::int32_t>(arguments, kind, design);
  }
  if (design.status != kFilterOk)
    design.refusal = AtHalfTheRate("the corner", arguments.frequency, arguments.rate);
  return design;
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> parts{""};
  for (const char c : text) {
    if (c == ',') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

float ParseBandNumber(const std::string& text, const std::string& band) {
  float number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || !std::isfinite(number))
    UsageFailure("\"" + text + "\" in the band \"" + band + "\" is not a number.");
  return number;
}

std::int32_t ParseBandType(const std::string& text) {
  const std::vector<std::string> names(kTypeNames.begin(), kTypeNames.end());
  if (const auto number = ParseNumber(text);
      number && *number >= 0 && *number < static_cast<int>(names.size()))
    return *number;
  const auto found = std::find(names.begin(), names.end(), text);
  if (found != names.end()) return static_cast<std::int32_t>(found - names.begin());
  std::string known;
  for (std::size_t i = 0; i < names.size(); ++i)
    known += "\n  " + std::to_string(i) + "  " + names[i];
  UsageFailure("no band type \"" + text + "\"." + Suggestion(names, text) + "\nKnown:" + known);
}

FilterBand ParseBand(const std::string& text) {
  const std::vector<std::string> parts = Split(text);
  if (parts.size() != 4 && parts.size() != 5)
    UsageFailure("the band \"" + text + "\" is not type,frequency,q,gain_db[,invert].");
  FilterBand band{ParseBandType(parts[0]), ParseBandNumber(parts[1], text),
                  ParseBandNumber(parts[2], text), ParseBandNumber(parts[3], text), 0};
  if (band.frequency <= 0 || band.q <= 0)
    UsageFailure("frequency and quality of the band \"" + text + "\" must be above zero.");
  if (parts.size() == 5) band.invert = ParseBandNumber(parts[4], text) != 0 ? 1 : 0;
  return band;
}

std::string BandText(const FilterBand& band) {
  return std::string(kTypeNames[static_cast<std::size_t>(band.type)]) + " " +
         HertzText(band.frequency) + ", Q " + Decimals(band.q, 2) + ", " +
         (band.gain_db > 0 ? "+" : "") + Decimals(band.gain_db, 1) + " dB" +
         (band.invert != 0 ? ", inverted" : "");
}

std::vector<std::string> BandLines(const std::vector<FilterBand>& bands) {
  constexpr std::size_t kInLine = 3;
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < bands.size(); ++i) {
    if (i % kInLine == 0) lines.emplace_back();
    lines.back() += (i % kInLine == 0 ? "" : "   \u00b7   ") + BandText(bands[i]);
  }
  return lines;
}

Design DesignBands(const Arguments& arguments) {
  std::vector<FilterBand> bands;
  for (const std::string& text : arguments.bands) bands.push_back(ParseBand(text));
  Design design;
  design.title = "Cascade of " +
                 (bands.size() == 1 ? "one band" : std::to_string(bands.size()) + " bands") +
                 ", 32 bits";
  design.details = BandLines(bands);
  const FilterSet set{static_cast<std::int32_t>(bands.size()), bands.data(), arguments.rate};
  std::vector<char> workspace(FilterWorkspace(bands.size()));
  std::vector<std::int32_t> words(FilterWords(bands.size()));
  design.status = DesignFilterSet(set, words.data(), workspace.data());
  if (design.status != kFilterOk) {
    const float highest =
        std::max_element(bands.begin(), bands.end(), [](const auto& a, const auto& b) {
          return a.frequency < b.frequency;
        })->frequency;
    design.refusal = AtHalfTheRate("the band's frequency", highest, arguments.rate);
    return design;
  }
  std::vector<FilterSection> ideal(bands.size());
  DesignCascade(set, ideal.data());
  design.filters.push_back(
      {"", Cascade(ideal.data(), ideal.size()), Cascade::FromWords(words.data(), bands.size())});
  design.words = std::move(words);
  return design;
}

// The low-pass and the resonators of one size, from eight values.
template <class Value>
std::array<Cascade, 3> ResonatorCascades(Value value) {
  return {Cascade({{value(0), value(0), 0, value(1), 0}}),
          Cascade({{-value(2), 0, value(2), value(3), value(4)}}),
          Cascade({{-value(5), 0, value(5), value(6), value(7)}})};
}

void AddResonators(const std::string& size_name, float size, const Arguments& arguments,
                   const std::int32_t* words, Design& design) {
  const auto values = DesignResonatorSet(size, arguments.rate);
  const auto ideal =
      ResonatorCascades([&](std::size_t i) { return static_cast<double>(values[i]); });
  const auto fixed =
      ResonatorCascades([&](std::size_t i) { return std::ldexp(words[i], i < 2 ? -31 : -30); });
  const char* const names[] = {" low-pass", " resonator 1", " resonator 2"};
  for (std::size_t i = 0; i < ideal.size(); ++i)
    design.filters.push_back({size_name + names[i], ideal[i], fixed[i]});
}

Design DesignBass(const Arguments& arguments) {
  Design design;
  design.title = "Bass enhancement for " + HertzText(arguments.audio) + ", analysis " +
                 HertzText(arguments.analysis);
  design.words_in_row = 8;
  std::vector<std::int32_t> words(kBassEnhancementWords);
  std::vector<char> workspace(FilterWorkspace(1));
  design.status = DesignBassEnhancementFilters(arguments.audio, arguments.analysis, arguments.rate,
                                               words.data(), workspace.data());
  if (design.status != kFilterOk) {
    design.refusal =
        AtHalfTheRate("the all-pass", AllPassFrequency(arguments.audio), arguments.rate);
    return design;
  }
  AddResonators("audio", arguments.audio, arguments, words.data(), design);
  AddResonators("analysis", arguments.analysis, arguments, words.data() + 8, design);
  FilterSection all_pass{};
  DesignBand({kORVFilter_AllPass, AllPassFrequency(arguments.audio), 1, 0, 0}, arguments.rate,
             all_pass);
  design.filters.push_back(
      {"all-pass", Cascade(&all_pass, 1), Cascade::FromWords(words.data() + 16, 1)});
  design.words = std::move(words);
  return design;
}

ResponsePoint PointAt(const Filter& filter, double frequency, double rate) {
  return {frequency, filter.ideal.Decibels(frequency, rate),
          filter.fixed.Decibels(frequency, rate)};
}

ResponseCurve CurveOf(const Filter& filter, const Arguments& arguments, int steps) {
  ResponseCurve curve{filter.name, {}};
  const double ratio = kHighestShare * arguments.rate / kLowest;
  for (int i = 0; i <= steps; ++i)
    curve.points.push_back(
        PointAt(filter, kLowest * std::pow(ratio, static_cast<double>(i) / steps), arguments.rate));
  return curve;
}

struct Judgement {
  Deviation worst{kLowest, 0};
  ResponsePoint at{kLowest, 0, 0};  // there
  double pole_radius = 0;
};
bool IsSilent(double decibels) { return decibels <= kSilence; }
// Whether the largest error ends in silence, so that its size says nothing.
bool IsUnmeasured(const Judgement& judgement) {
  return IsSilent(judgement.at.ideal_db) || IsSilent(judgement.at.fixed_db);
}

// The names of the filters whose words let nothing pass, "" for that of a design with one filter.
std::vector<std::string> SilentFilters(const Design& design, const Arguments& arguments) {
  constexpr int kSteps = 100;
  std::vector<std::string> names;
  for (const Filter& filter : design.filters) {
    const ResponseCurve curve = CurveOf(filter, arguments, kSteps);
    if (std::all_of(curve.points.begin(), curve.points.end(),
                    [](const ResponsePoint& point) { return IsSilent(point.fixed_db); }))
      names.push_back(filter.name);
  }
  return names;
}

Judgement Judge(const Design& design, const Arguments& arguments) {
  Judgement judgement;
  for (const Filter& filter : design.filters) {
    const Deviation found = LargestDeviation(filter.ideal, filter.fixed, arguments.rate, kLowest,
                                             kHighestShare * arguments.rate);
    if (std::abs(found.decibels) > std::abs(judgement.worst.decibels)) {
      judgement.worst = found;
      judgement.at = PointAt(filter, found.frequency, arguments.rate);
    }
    judgement.pole_radius = std::max(judgement.pole_radius, filter.fixed.PoleRadius());
  }
  return judgement;
}

std::string LevelText(double decibels, int decimals, const char* unit) {
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
    return what + LevelText(judgement.at.fixed_db, 4, " dB") + " instead of " +
           LevelText(judgement.at.ideal_db, 4, " dB") + place;
  }
  return what + Decimals(judgement.worst.decibels, 4) + " dB" + place;
}

std::string PoleText(const Judgement& judgement) {
  return "Largest pole radius: " + Decimals(judgement.pole_radius, 6) +
         (judgement.pole_radius < 1 ? " (stable)" : " (UNSTABLE)");
}

Json ResponseJson(const Design& design, const Arguments& arguments) {
  constexpr int kSteps = 240;
  Json response = Json::array();
  for (const Filter& filter : design.filters) {
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

void ShowWords(const Design& design, Output& output) {
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

void ShowResponse(const Design& design, const Arguments& arguments, Output& output) {
  constexpr double kThirdOctaves[] = {1, 1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3, 8};
  for (const Filter& filter : design.filters) {
    output.Line("");
    if (!filter.name.empty()) output.Line(filter.name);
    Table table({{"FREQUENCY", Align::Right},
                 {"IDEAL dB", Align::Right},
                 {"QUANTISED dB", Align::Right},
                 {"ERROR dB", Align::Right}});
    for (std::size_t i = 0;; ++i) {
      const double decade = std::pow(10, i / std::size(kThirdOctaves));
      const double frequency = kLowest * decade * kThirdOctaves[i % std::size(kThirdOctaves)];
      if (frequency > kHighestShare * arguments.rate) break;
      const ResponsePoint point = PointAt(filter, frequency, arguments.rate);
      const bool measured = !IsSilent(point.ideal_db) && !IsSilent(point.fixed_db);
      table.Add({HertzText(frequency), LevelText(point.ideal_db, 3, ""),
                 LevelText(point.fixed_db, 3, ""),
                 measured ? Decimals(point.fixed_db - point.ideal_db, 4) : ""});
    }
    output.Show(table);
  }
}

void WriteDrawing(const Design& design, const Arguments& arguments, const Judgement& judgement) {
  constexpr int kSteps = 1000;
  ResponsePlot plot{design.title, design.details, {}};
  plot.remarks.push_back(WorstText(judgement) + ".  " + PoleText(judgement) +
                         ".  Sample rate: " + HertzText(arguments.rate) + ".");
  for (const Filter& filter : design.filters)
    plot.curves.push_back(CurveOf(filter, arguments, kSteps));
  ReplaceFile(arguments.svg, DrawResponse(plot));
}

void Present(Context& context, const Design& design, const Arguments& arguments) {
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
    output.Remark("The words" + (name.empty() ? "" : " of the " + name) +
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

void AddSharedOptions(CLI::App& command, Arguments& arguments) {
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
  const auto arguments = std::make_shared<Arguments>();
  const auto add = [&](const std::string& name, const std::string& description,
                       const std::string& example, const std::string& details,
                       Design (*design)(const Arguments&)) {
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
