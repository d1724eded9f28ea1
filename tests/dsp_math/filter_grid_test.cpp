// Every design over a grid of parameters, word by word against the reference. ORV_LONG_TESTS=1 in
// the environment makes the grid finer.
#include <cstdlib>

#include "designed_words.h"
#include "filter_reference.h"

namespace orv {
namespace {

bool LongForm() {
  const char* wish = std::getenv("ORV_LONG_TESTS");
  return wish != nullptr && *wish == '1';
}

// Up to 10 Hz below half the rate: closer to it, single precision no longer tells the poles of the
// sharpest filters from the unit circle.
std::vector<float> Frequencies() {
  if (!LongForm()) return {20, 63, 1000, 15000, 23990};
  std::vector<float> frequencies{23990};
  for (float frequency = 20; frequency < 24000; frequency *= 1.31F) {
    frequencies.push_back(frequency);
  }
  return frequencies;
}

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
  const std::vector<float> qualities = LongForm()
                                           ? std::vector<float>{0.1F, 0.3F, 0.707F, 1, 3, 10, 30}
                                           : std::vector<float>{0.1F, 0.707F, 30};
  const std::vector<float> gains =
      LongForm() ? std::vector<float>{-24, -9.5F, 0, 3, 12, 24} : std::vector<float>{-24, 3, 24};
  int invert = 0;
  for (const float frequency : Frequencies()) {
    for (const float q : qualities) {
      for (const float gain : gains) {
        for (std::int32_t type = 0; type < 10; ++type) {
          CompareBand({type, frequency, q, gain, invert});
          invert = invert == 0 ? -1 : 0;
        }
      }
    }
  }
}

TEST(FilterGrid, ButterworthOfEveryOrderMatchesTheReference) {
  for (const float frequency : Frequencies()) {
    for (std::int32_t order = 1; order <= 24; order += LongForm() || order < 5 ? 1 : 3) {
      for (const std::int32_t kind : {kButterworthLowPass, kButterworthHighPass}) {
        SCOPED_TRACE(testing::Message()
                     << frequency << " Hz, order " << order << ", kind " << kind);
        const auto sections = reference::Butterworth(frequency, order, kRate, kind == 1);
        EXPECT_EQ(Widened(ButterworthWords<std::int32_t>(frequency, order, kind)),
                  reference::Words(sections, 32));
        auto expected = reference::Words(sections, 16);
        for (std::size_t i = order % 2; i < sections.size(); ++i) {
          expected[6 * i + 2] = kind == 0 ? std::min<std::int64_t>(2 * expected[6 * i + 1], 32767)
                                          : -2 * expected[6 * i + 1];
        }
        EXPECT_EQ(Widened(ButterworthWords<std::int16_t>(frequency, order, kind)), expected);
      }
    }
  }
}

TEST(FilterGrid, CascadesOfEveryLengthMatchTheReference) {
  std::vector<FilterBand> bands;
  for (int i = 0; i < (LongForm() ? 40 : 26); ++i) {
    const float position = static_cast<float>(i * 11 % 24);
    bands.push_back({i * 7 % 10, 40 + 900 * position, 0.4F + 0.2F * position,
                     static_cast<float>(i % 5) - 2, i % 3});
    EXPECT_EQ(Widened(BandWords(bands)), ReferenceWords(bands)) << bands.size() << " bands";
  }
}

}  // namespace
}  // namespace orv
