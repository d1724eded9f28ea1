#include "intel_dsp/filter_designs.h"

#include <fmt/format.h>

#include "platform/diagnostics.h"

namespace orv {
namespace {

constexpr float kQPerStep = 100.0F;  // the control counts hundredths
constexpr float kDbPerStep = 10.0F;  // the control counts tenths of dB
constexpr const char* kTypeNames[] = {"Traditional", "Low Shelf", "High Shelf"};  // by type

float Quantity(const std::string& name, const ControlValueMap& map) {
  return static_cast<float>(intel::IntegerOf(name, map));
}

std::int32_t BandType(const std::string& name, const char* prefix, const ControlValueMap& map) {
  const auto control = map.find(name);
  if (control == map.end()) return kUnknownBandType;
  const std::string text = control->second.ToString();
  std::int32_t type = kORVFilter_Traditional;
  for (const char* type_name : kTypeNames) {
    if (text == std::string(prefix) + type_name) return type;
    ++type;
  }
  type = control->second.ToLong();
  return type >= kORVFilter_Traditional && type <= kORVFilter_HighShelf ? type : kUnknownBandType;
}

}  // namespace

std::vector<FilterBand> ReadEqualizerBands(const EqualizerSuite& suite, const std::string& channel,
                                           const ControlValueMap& map) {
  std::vector<FilterBand> bands;
  for (;;) {
    const std::string name = fmt::format("{}{} Band {}", suite.stem, channel, bands.size());
    if (!map.contains(name + " Enable")) return bands;
    FilterBand band{};
    band.type = BandType(name + " Type", suite.type_prefix, map);
    band.frequency = Quantity(name + " Frequency", map);
    band.q = Quantity(name + " Q Factor", map) / kQPerStep;
    band.gain_db = Quantity(name + " Gain", map) / kDbPerStep;
    if (band.type != kUnknownBandType && !(band.frequency > 0 && band.q > 0)) {
      Diagnose(ORV_HERE(suite.reader),
               L"%S passes its input on: frequency or quality factor not above zero\n", name);
      band.type = kUnknownBandType;
    }
    bands.push_back(band);
  }
}

std::vector<std::int32_t> DesignEqualizer(std::span<const FilterBand> bands) {
  std::vector<FilterBand> known(bands.begin(), bands.end());
  for (FilterBand& band : known) {
    // A unity section, for any other numbers of the band.
    if (band.type == kUnknownBandType) band = {kORVFilter_Gain, 0, 0, 0, 0};
  }
  const FilterSet set = {static_cast<std::int32_t>(known.size()), known.data(), kIntelSampleRate};
  std::vector<std::int32_t> words(FilterWords(known.size()));
  std::vector<std::byte> workspace(FilterWorkspace(known.size()));
  if (DesignFilterSet(set, words.data(), workspace.data()) != kFilterOk) words.clear();
  return words;
}

std::vector<std::int32_t> DesignHighPass(float frequency, std::int32_t order) {
  const std::size_t sections = ButterworthSections(order);
  std::vector<std::int32_t> words(FilterWords(sections));
  std::vector<std::byte> workspace(FilterWorkspace(sections));
  const bool designed =
      frequency > 0 && DesignButterworth32(frequency, order, kIntelSampleRate, kButterworthHighPass,
                                           words.data(), workspace.data()) == kFilterOk;
  if (!designed) words.clear();
  return words;
}

std::vector<std::int32_t> DesignBassSet(std::int32_t audio_size, std::int32_t analysis_size) {
  if (!IsFrequency(audio_size) || !IsFrequency(analysis_size)) return {};
  std::vector<std::int32_t> words(kBassEnhancementWords);
  std::byte workspace[FilterWorkspace(1)];
  const std::int32_t status = DesignBassEnhancementFilters(
      static_cast<float>(audio_size), static_cast<float>(analysis_size), kIntelSampleRate,
      words.data(), workspace);
  if (status != kFilterOk) words.clear();
  return words;
}

}  // namespace orv
