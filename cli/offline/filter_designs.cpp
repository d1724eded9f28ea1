#include "cli/offline/filter_designs.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "cli/show/failure.h"
#include "cli/show/scale.h"
#include "cli/show/select.h"

namespace orv::cli {
namespace {

const std::vector<std::string> kTypeNames{"traditional", "lowshelf", "highshelf", "lowpass",
                                          "highpass",    "bandpass", "allpass",   "notch",
                                          "peaking",     "gain"};

template <class Word>
using ButterworthDesign = std::int32_t (*)(float frequency, std::int32_t order,
                                           std::int32_t sample_rate, std::int32_t kind, Word* words,
                                           void* workspace);

template <class Word>
void DesignButterworthWords(const FilterArguments& arguments, std::int32_t kind,
                            ButterworthDesign<Word> make_words, FilterDesign& design) {
  const std::size_t sections = ButterworthSections(arguments.order);
  std::vector<char> workspace(FilterWorkspace(sections));
  std::vector<Word> words(FilterWords(sections));
  std::vector<FilterSection> ideal(sections);
  design.status = make_words(arguments.frequency, arguments.order, arguments.rate, kind,
                             words.data(), workspace.data());
  if (design.status != kFilterOk) return;
  DesignButterworthSections(arguments.frequency, arguments.order, arguments.rate, kind,
                            ideal.data());
  design.words.assign(words.begin(), words.end());
  design.filters.push_back(
      {"", Cascade(ideal.data(), sections), Cascade::FromWords(words.data(), sections)});
}

std::string AtHalfTheRate(const char* what, double frequency, std::int32_t rate) {
  return fmt::format("{} of {} is not below {}, half the sample rate", what, HertzText(frequency),
                     HertzText(rate / 2));
}

float ParseBandNumber(const std::string& text, const std::string& band) {
  if (const std::optional<float> number = ParseReal(text)) return *number;
  UsageFailure("\"{}\" in the band \"{}\" is not a number.", text, band);
}

FilterBand ParseBand(const std::string& text) {
  const std::vector<std::string> parts = SplitList(text, "the band");
  if (parts.size() != 4 && parts.size() != 5)
    UsageFailure("the band \"{}\" is not type,frequency,q,gain_db[,invert].", text);
  FilterBand band{ParseChoice(kTypeNames, parts[0], "band type"), ParseBandNumber(parts[1], text),
                  ParseBandNumber(parts[2], text), ParseBandNumber(parts[3], text), 0};
  if (band.frequency <= 0 || band.q <= 0)
    UsageFailure("frequency and quality of the band \"{}\" must be above zero.", text);
  if (parts.size() == 5) band.invert = ParseBandNumber(parts[4], text) != 0 ? 1 : 0;
  return band;
}

std::string BandText(const FilterBand& band) {
  return fmt::format("{} {}, Q {}, {}{} dB{}", kTypeNames[static_cast<std::size_t>(band.type)],
                     HertzText(band.frequency), Decimals(band.q, 2), band.gain_db > 0 ? "+" : "",
                     Decimals(band.gain_db, 1), band.invert != 0 ? ", inverted" : "");
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

// The low-pass and the resonators of one size, from eight values.
template <class Value>
std::array<Cascade, 3> ResonatorCascades(Value value) {
  return {Cascade({{value(0), value(0), 0, value(1), 0}}),
          Cascade({{-value(2), 0, value(2), value(3), value(4)}}),
          Cascade({{-value(5), 0, value(5), value(6), value(7)}})};
}

constexpr const char* kResonatorNames[] = {" low-pass", " resonator 1", " resonator 2"};
constexpr std::size_t kResonatorWords = 8;  // of one size

std::array<Cascade, 3> ResonatorsFromWords(const std::int32_t* words) {
  return ResonatorCascades(
      [words](std::size_t i) { return std::ldexp(words[i], i < 2 ? -31 : -30); });
}

void AddResonators(const std::string& size_name, float size, const FilterArguments& arguments,
                   const std::int32_t* words, FilterDesign& design) {
  const auto values = DesignResonatorSet(size, arguments.rate);
  const auto ideal =
      ResonatorCascades([&](std::size_t i) { return static_cast<double>(values[i]); });
  const auto fixed = ResonatorsFromWords(words);
  for (std::size_t i = 0; i < ideal.size(); ++i)
    design.filters.push_back({size_name + kResonatorNames[i], ideal[i], fixed[i]});
}

}  // namespace

FilterDesign DesignButterworth(const FilterArguments& arguments) {
  FilterDesign design;
  const bool high_pass = arguments.kind == "highpass";
  design.title =
      fmt::format("Butterworth {} of order {} at {}, {} bits", high_pass ? "high-pass" : "low-pass",
                  arguments.order, HertzText(arguments.frequency), arguments.bits);
  const std::int32_t kind = high_pass ? kButterworthHighPass : kButterworthLowPass;
  if (arguments.bits == 16) {
    DesignButterworthWords<std::int16_t>(arguments, kind, DesignButterworth16, design);
  } else {
    DesignButterworthWords<std::int32_t>(arguments, kind, DesignButterworth32, design);
  }
  if (design.status != kFilterOk)
    design.refusal = AtHalfTheRate("the corner", arguments.frequency, arguments.rate);
  design.marks.push_back({arguments.frequency, "-3 dB"});
  return design;
}

FilterDesign DesignBands(const FilterArguments& arguments) {
  std::vector<FilterBand> bands;
  for (const std::string& text : arguments.bands) bands.push_back(ParseBand(text));
  FilterDesign design;
  design.title = "Cascade of " +
                 (bands.size() == 1 ? "one band" : fmt::format("{} bands", bands.size())) +
                 ", 32 bits";
  design.details = BandLines(bands);
  for (std::size_t i = 0; i < bands.size(); ++i)
    if (bands[i].type != kORVFilter_Gain)
      design.marks.push_back({bands[i].frequency, std::to_string(i + 1)});
  const FilterSet set{static_cast<std::int32_t>(bands.size()), bands.data(), arguments.rate};
  std::vector<char> workspace(FilterWorkspace(bands.size()));
  std::vector<std::int32_t> words(FilterWords(bands.size()));
  design.status = DesignFilterSet(set, words.data(), workspace.data());
  if (design.status != kFilterOk) {
    const float highest = std::ranges::max_element(bands, {}, &FilterBand::frequency)->frequency;
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

FilterDesign DesignBass(const FilterArguments& arguments) {
  FilterDesign design;
  design.title = fmt::format("Bass enhancement for {}, analysis {}", HertzText(arguments.audio),
                             HertzText(arguments.analysis));
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

std::optional<Cascade> IdealBands(const std::vector<FilterBand>& bands, std::int32_t rate) {
  std::vector<FilterSection> sections(bands.size());
  if (DesignCascade({static_cast<std::int32_t>(bands.size()), bands.data(), rate},
                    sections.data()) != kFilterOk)
    return std::nullopt;
  return Cascade(sections.data(), sections.size());
}

std::vector<std::string> BassFilterNames() {
  std::vector<std::string> names;
  for (const char* size : {"audio", "analysis"})
    for (const char* filter : kResonatorNames) names.push_back(std::string(size) + filter);
  names.emplace_back("all-pass");
  return names;
}

std::vector<Cascade> BassFilters(const std::vector<std::int32_t>& words) {
  std::vector<Cascade> filters;
  for (std::size_t begin = 0; begin < 2 * kResonatorWords; begin += kResonatorWords)
    for (const Cascade& filter : ResonatorsFromWords(words.data() + begin))
      filters.push_back(filter);
  if (words.size() == kBassEnhancementWords)
    filters.push_back(Cascade::FromWords(words.data() + 2 * kResonatorWords, 1));
  return filters;
}

}  // namespace orv::cli
