#include "analysis/spectrum.h"

#include <algorithm>

#include "analysis_fixture.h"
#include "reference_analysis.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

using SpectrumTest = AnalysisTest;

// What the endpoint plays at a position, without the audio engine in between.
std::vector<float> Played(const ListeningClient& client, std::uint64_t position,
                          std::size_t frames) {
  const auto sound = client.machine->sound().SoundOf(kListenedEndpoint);
  std::vector<float> samples(frames * sound->shape.channels);
  for (const SoundSource& source : sound->sources)
    AddSource(source, sound->shape, position, samples);
  return samples;
}

std::vector<ULONG> BinFrequencies(const ReferenceAnalysis& reference) {
  std::vector<ULONG> frequencies(reference.bins());
  for (std::size_t k = 0; k < frequencies.size(); ++k)
    frequencies[k] = static_cast<ULONG>((k + 1) * reference.spacing());
  return frequencies;
}

// Every bin of both channels, as numbers rather than levels: single precision loses bits of the
// largest bin's size.
void ExpectSameSpectra(const ReferenceAnalysis& reference, const std::vector<float>& left,
                       const std::vector<float>& right) {
  for (std::size_t k = 0; k < reference.bins(); ++k) {
    const float levels[] = {left[k], right[k]};
    for (std::size_t channel = 0; channel < 2; ++channel) {
      const long double expected = std::min(reference.Magnitude(channel, k), 1.0L);
      const long double found = std::pow(10.0L, levels[channel] / 20.0L);
      ASSERT_NEAR(static_cast<double>(found), static_cast<double>(expected), 3e-6)
          << "channel " << channel << ", bin " << k;
    }
  }
}

TEST_F(SpectrumTest, WholeChainAgreesWithItsDefinitionAtEveryRate) {
  for (const std::uint32_t rate : {44100U, 48000U, 96000U}) {
    SCOPED_TRACE(rate);
    const std::string shape = R"(, "mix_format": {"rate": )" + std::to_string(rate) + "}";
    ListeningClient client(shape + R"(, "packets": {"frames": [480, 441, 17, 1024, 2500, 960]},
        "sounds": [{"kind": "tone", "channel": 0, "frequency": 1031.25, "level": -12},
                   {"kind": "tone", "channel": 0, "frequency": 7777.7, "phase": 33, "level": -30},
                   {"kind": "noise", "channel": 1, "level": -6}])",
                           "\"held\"");
    ASSERT_EQ(client.Open(), S_OK);
    ReferenceAnalysis reference(rate, 2);
    std::uint64_t position = 0;
    for (int round = 0; round < 2; ++round) {
      for (const std::size_t frames : {480, 441, 17, 1024, 2500, 960}) {
        reference.Append(Played(client, position, frames));
        position += frames;
        client.PlayUntil(position);
        if (frames == 480 || frames == 441) continue;  // the client comes after three packets
        const auto left = client.Spectrum(0, BinFrequencies(reference));
        const auto right = client.Spectrum(1, BinFrequencies(reference));
        ExpectSameSpectra(reference, left, right);
      }
    }
  }
}

TEST(SpectrumBins, FrequencyReadsTheNearestBinTheUpperOfTwo) {
  // Frequencies and the bins that they read, counted from 1.
  using Requests = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
  const std::tuple<std::uint32_t, std::uint32_t, Requests> rates[] = {
      {48000, 521, {{0, 1}, {60, 1}, {69, 2}, {115, 3}, {30000, 521}, {0xFFFFFFFF, 521}}},
      {44100, 512, {{0, 1}, {60, 1}, {69, 2}, {107, 2}, {108, 3}, {30000, 512}}},
      {96000, 516, {{0, 1}, {60, 1}, {69, 1}, {232, 2}, {233, 3}, {30000, 323}}}};
  for (const auto& [rate, count, requests] : rates) {
    const SpectrumBins bins(rate);
    EXPECT_EQ(bins.count(), count);
    for (const auto& [frequency, bin] : requests)
      EXPECT_EQ(bins.Nearest(frequency), bin - 1) << rate << ", " << frequency << " Hz";
  }
}

TEST_F(SpectrumTest, SilentPacketsGapsAndOddLengthsKeepTheQueuesInOrder) {
  ListeningClient client(
      R"(, "packets": {"frames": [480, 1, 700], "silent_every": 3, "gap_every": 5},
      "sounds": [{"kind": "noise", "level": -3}])",
      "\"held\"");
  const DiagnosticLog log;
  ASSERT_EQ(client.Open(), S_OK);
  ReferenceAnalysis reference(48000, 2);
  const std::size_t lengths[] = {480, 1, 700};
  std::vector<std::uint64_t> reported;  // packets with a line of their own
  std::uint64_t position = 0;
  for (std::uint64_t packet = 0; packet < 256; ++packet) {
    const std::size_t frames = lengths[packet % 3];
    std::vector<float> samples = Played(client, position, frames);
    if ((packet + 1) % 3 == 0) std::fill(samples.begin(), samples.end(), 0.0F);
    position += frames;
    client.PlayUntil(position);
    if ((packet + 1) % 5 == 0) position += lengths[(packet + 1) % 3];
    reference.Append(samples);
    const auto left = client.Spectrum(0, BinFrequencies(reference));
    const auto right = client.Spectrum(1, BinFrequencies(reference));
    if (packet % 16 < 3) ExpectSameSpectra(reference, left, right);
    if (log.Count(L"1k: ") > reported.size()) {
      const std::wstring line = log.Lines().back();
      const double value = std::stod(line.substr(line.find(L"1k: ") + 4));
      EXPECT_NEAR(std::fabs(value) * 48000 / 8192, double(reference.Magnitude(0, 11)), 1e-5);
      reported.push_back(packet);
    }
    float loudest = 0;
    for (const float sample : samples) loudest = std::max(loudest, std::fabs(sample));
    const auto peaks = client.Peaks();
    EXPECT_FLOAT_EQ(std::max(peaks[0], peaks[1]), 20 * std::log10(loudest));
  }
  ASSERT_EQ(reported.size(), 2U);
  EXPECT_EQ(reported[1] - reported[0], 128U);
  EXPECT_EQ(log.Count(L" | CAnalysisData::LoadQueue | < 480!\n"), 256U / 3);
}

TEST_F(SpectrumTest, CapturesEveryMixFormatAndNumberOfChannels) {
  const struct {
    const char* format;
    std::uint32_t channels;
    double tolerance;
  } formats[] = {
      {R"("kind": "extensible_float", "channels": 1)", 1, 1e-5},
      {R"("kind": "extensible_float", "channels": 10)", 10, 1e-5},
      {R"("kind": "extensible_pcm", "bits": 16)", 2, 1e-5},  // becomes floats
      {R"("kind": "float")", 2, 1e-5},
      {R"("kind": "pcm", "bits": 16, "channels": 6)", 6, 1e-3},
      {R"("kind": "pcm", "bits": 24, "channels": 1)", 1, 1e-5},
  };
  for (const auto& [format, channels, tolerance] : formats) {
    SCOPED_TRACE(format);
    std::string sounds;
    for (std::uint32_t c = 0; c < channels; ++c) {
      sounds += (c == 0 ? "" : ", ") + std::string(R"({"kind": "tone", "frequency": 12000,)") +
                R"("phase": 90, "channel": )" + std::to_string(c) + R"(, "level": )" +
                std::to_string(-10 - 3 * int(c)) + "}";
    }
    ListeningClient client(std::string(R"(, "mix_format": {)") + format +
                           R"(}, "packets": {"frames": 1024}, "sounds": [)" + sounds + "]");
    ASSERT_EQ(client.Open(), S_OK);
    // Bin 256 at 257 x 46 Hz; the second queue has the first channel if there is only one.
    const double scale = 20 * std::log10(0.5 * 48000 / 8192);
    EXPECT_NEAR(client.Level(0, 11822), -10 + scale, tolerance);
    EXPECT_NEAR(client.Level(1, 11822), (channels == 1 ? -10 : -13) + scale, tolerance);
    const auto peaks = client.Peaks();
    for (std::uint32_t c = 0; c < 8; ++c) {
      if (c < channels)
        EXPECT_NEAR(peaks[c], -10 - 3.0 * c, 10 * tolerance);
      else
        EXPECT_EQ(peaks[c], kSilence);
    }
  }
  // Words of 32 bits are floats, whatever the format calls them.
  ListeningClient client(R"(, "mix_format": {"kind": "pcm", "bits": 32},
      "sounds": [{"kind": "clicks", "every": 100, "level": -6}])");
  ASSERT_EQ(client.Open(), S_OK);
  client.Level(0, 1000);
  EXPECT_EQ(client.Peaks()[0], 0) << "0x4026xxxx is 2.6, not half of full scale";
}

}  // namespace
}  // namespace orv
