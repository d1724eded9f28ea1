// Every design over a grid of parameters, word by word against the reference.
#include "designed_words.h"
#include "filter_reference.h"

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

TEST(FilterGrid, ButterworthOfEveryOrderMatchesTheReference) {
  for (const float frequency : kFrequencies) {
    for (std::int32_t order = 1; order <= 24; order += order < 5 ? 1 : 3) {
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
  for (int i = 0; i < 26; ++i) {
    const float position = static_cast<float>(i * 11 % 24);
    bands.push_back({i * 7 % 10, 40 + 900 * position, 0.4F + 0.2F * position,
                     static_cast<float>(i % 5) - 2, i % 3});
    EXPECT_EQ(Widened(BandWords(bands)), ReferenceWords(bands)) << bands.size() << " bands";
  }
}

}  // namespace
}  // namespace orv
