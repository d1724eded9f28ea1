// Bands word by word against designs in extended precision, every kind of design against the data.
#include <cstdlib>
#include <limits>

#include "designed_words.h"
#include "filter_reference.h"
#include "support/reference_data.h"

namespace orv {
namespace {

// Up to 10 Hz below half the rate: closer to it, single precision no longer tells the poles of the
// sharpest filters from the unit circle.
constexpr float kFrequencies[] = {20, 63, 1000, 15000, 23990};

template <class Word>
std::vector<std::int64_t> Widened(const std::vector<Word>& words) {
  return {words.begin(), words.end()};
}

std::vector<std::int64_t> ReferenceWords(const std::vector<FilterBand>& bands) {
  std::vector<reference::Section> sections;
  for (const FilterBand& band : bands) sections.push_back(reference::Band(band, kRate));
  return reference::Words(std::move(sections), 32);
}

void CompareBand(const FilterBand& band) {
  EXPECT_EQ(Widened(BandWords({band})), ReferenceWords({band}))
      << "type " << band.type << ", " << band.frequency << " Hz, Q " << band.q << ", "
      << band.gain_db << " dB, invert " << band.invert;
}

TEST(FilterGrid, EveryBandTypeMatchesTheReference) {
  int count = 0;
  for (const float frequency : kFrequencies) {
    for (const float q : {0.1F, 0.707F, 30.0F}) {
      for (const float gain : {-24.0F, 3.0F, 24.0F}) {
        const int invert = ++count % 2 == 0 ? -1 : 0;
        for (std::int32_t type = 0; type < 10; ++type)
          CompareBand({type, frequency, q, gain, invert});
      }
    }
  }
}

TEST(FilterGrid, CascadesOfEveryLengthMatchTheReference) {
  std::vector<FilterBand> bands;
  for (int i = 0; i < 26; ++i) {
    const float position = static_cast<float>(i * 11 % 24);
    bands.push_back({i * 7 % 10, 40 + 900 * position, 0.4F + 0.2F * position,
                     static_cast<float>(i % 5) - 2, i % 3});
    EXPECT_EQ(Widened(BandWords(bands)), ReferenceWords(bands)) << bands.size() << " bands";
  }
}

TEST(FilterGrid, DesignsAreThoseOfTheReferenceData) {
  constexpr std::int16_t kUntouched = 0x5A5A;
  constexpr std::size_t kMost = 80;
  const nlohmann::json& data = ReferenceData("filters.json");
  for (const auto& row : data.at("cases")) {
    SCOPED_TRACE(row.dump().substr(0, 120));
    const std::string design = row.at("design");
    const std::int32_t rate = row.at("sample_rate");
    std::vector<FilterBand> bands;
    for (const auto& band : row.value("bands", nlohmann::json::array()))
      bands.push_back({band[0], band[1], band[2], band[3], band[4]});
    std::vector<char> workspace(FilterWorkspace(kMost / 6));
    std::vector<std::int32_t> words(kMost, kUntouched);
    std::vector<std::int16_t> narrow(kMost, kUntouched);
    const auto butterworth = [&](auto function, auto& result) {
      return function(row.at("frequency"), row.at("order"), rate, row.at("kind") == "highpass",
                      result.data(), workspace.data());
    };
    const FilterSet set = {static_cast<std::int32_t>(bands.size()), bands.data(), rate};
    EXPECT_EQ(design == "butterworth16"   ? butterworth(DesignButterworth16, narrow)
              : design == "butterworth32" ? butterworth(DesignButterworth32, words)
              : design == "filter_set"
                  ? DesignFilterSet(set, words.data(), workspace.data())
                  : DesignBassEnhancementFilters(row.at("audio"), row.at("analysis"), rate,
                                                 words.data(), workspace.data()),
              row.at("status"));
    if (design == "butterworth16") words.assign(narrow.begin(), narrow.end());
    auto expected = row.value("words", std::vector<std::int32_t>());
    expected.resize(kMost, kUntouched);
    std::vector<std::int64_t> tolerances(kMost);
    for (std::size_t i = 0; row.contains("words") && i < row.at("words").size(); ++i) {
      const auto tolerance = row.value("tol_lsb", nlohmann::json(0));
      tolerances[i] = tolerance.is_array() ? tolerance[i] : tolerance;
    }
    for (const std::size_t i : row.value("open", std::vector<std::size_t>()))
      tolerances[i] = std::numeric_limits<std::int32_t>::max();
    for (std::size_t i = 0; i < kMost; ++i)
      EXPECT_LE(std::abs(std::int64_t{words[i]} - expected[i]), tolerances[i]) << "word " << i;
  }
}

}  // namespace
}  // namespace orv
