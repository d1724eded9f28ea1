#include "analysis/spectrum.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <numbers>
#include <span>

#include "analysis_fixture.h"
#include "support/diagnostic_log.h"

namespace orv {
namespace {

// What the analysis of a stream gives, computed in the plainest way and in extended precision.
class ReferenceAnalysis {
 public:
  static constexpr std::size_t kBlock = 1024;

  ReferenceAnalysis(std::uint32_t rate, std::size_t channels) : rate_(rate), channels_(channels) {}

  std::uint32_t spacing() const { return rate_ / kBlock; }
  std::size_t bins() const { return (rate_ - 1) / 2 / spacing(); }  // below half the rate

  // Interleaved samples of one packet.
  void Append(std::span<const float> packet) {
    for (std::size_t at = 0; at < packet.size(); at += channels_) {
      queues_[0].push_back(packet[at]);
      queues_[1].push_back(packet[at + (channels_ > 1 ? 1 : 0)]);
    }
    for (std::size_t q = 0; q < 2; ++q) {
      if (queues_[q].size() < kBlock) queues_[q].resize(kBlock);
      for (; queues_[q].size() >= kBlock; queues_[q].erase(queues_[q].begin(), EndOfBlock(q)))
        blocks_[q].assign(queues_[q].begin(), EndOfBlock(q));
    }
  }

  // Of the bin at (bin + 1) x spacing: the transform's output has real parts of bins 0 to 512, then
  // imaginary parts backwards.
  long double Magnitude(std::size_t queue, std::size_t bin) const {
    const bool imaginary = bin > kBlock / 2;
    const std::size_t turns = imaginary ? kBlock - bin : bin;
    long double sum = 0;
    for (std::size_t n = 0; n < kBlock; ++n)
      sum += blocks_[queue][n] * kTurn[(turns * n + (imaginary ? 3 * kBlock / 4 : 0)) % kBlock];
    return std::fabs(sum / kBlock) / std::sqrt(1024.0L) * rate_ / 256;
  }

 private:
  std::deque<long double>::iterator EndOfBlock(std::size_t queue) {
    return queues_[queue].begin() + kBlock;
  }

  // Cosines of a turn's 1024 parts; three quarters further on they are sines.
  inline static const std::array<long double, kBlock> kTurn = [] {
    std::array<long double, kBlock> turn{};
    for (std::size_t i = 0; i < kBlock; ++i)
      turn[i] =
          std::cos(2 * std::numbers::pi_v<long double> * static_cast<long double>(i) / kBlock);
    return turn;
  }();

  std::uint32_t rate_;
  std::size_t channels_;
  std::array<std::deque<long double>, 2> queues_{std::deque<long double>(kBlock),
                                                 std::deque<long double>(kBlock)};
  std::array<std::vector<long double>, 2> blocks_;
};

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

// Packets of odd lengths, among them silent ones and gaps.
TEST_F(SpectrumTest, WholeChainAgreesWithItsDefinitionAtEveryRate) {
  constexpr std::size_t kLengths[] = {480, 441, 17, 1024, 2500, 960, 1, 700};
  for (const auto& [rate, packets] : {std::pair{44100U, 16U}, {48000U, 256U}, {96000U, 16U}}) {
    SCOPED_TRACE(rate);
    const bool each = packets == 256;  // else the client comes once for packets 6 and 7 of 8
    ListeningClient client(R"(, "mix_format": {"rate": )" + std::to_string(rate) +
                               R"(}, "packets": {"frames": [480, 441, 17, 1024, 2500, 960, 1, 700],
        "silent_every": 3, "gap_every": 5},
        "sounds": [{"kind": "tone", "channel": 0, "frequency": 7777.7, "phase": 33, "level": -30},
                   {"kind": "noise", "level": -6}])",
                           "\"held\"");
    const DiagnosticLog log;
    ASSERT_EQ(client.Open(), S_OK);
    ReferenceAnalysis reference(rate, 2);
    std::vector<std::uint64_t> reported;  // packets with a line of their own
    std::uint64_t position = 0;
    for (std::uint64_t packet = 0; packet < packets; ++packet) {
      const std::size_t frames = kLengths[packet % std::size(kLengths)];
      std::vector<float> samples = Played(client, position, frames);
      if ((packet + 1) % 3 == 0) std::fill(samples.begin(), samples.end(), 0.0F);
      position += frames;
      client.PlayUntil(position);
      if ((packet + 1) % 5 == 0) position += kLengths[(packet + 1) % std::size(kLengths)];
      reference.Append(samples);
      if (!each && packet % 8 == 6) continue;
      const auto left = client.Spectrum(0, BinFrequencies(reference));
      const auto right = client.Spectrum(1, BinFrequencies(reference));
      if (packet % 16 < 8) ExpectSameSpectra(reference, left, right);
      if (each && log.Count(L"1k: ") > reported.size()) {
        const std::wstring line = log.Lines().back();
        const double value = std::stod(line.substr(line.find(L"1k: ") + 4));
        EXPECT_NEAR(std::fabs(value) * rate / 8192, double(reference.Magnitude(0, 11)), 1e-5);
        reported.push_back(packet);
      }
      const auto peaks = client.Peaks();
      if (!each && packet % 8 == 7) continue;
      const auto loudest = std::ranges::max(samples, {}, [](float one) { return std::fabs(one); });
      EXPECT_FLOAT_EQ(std::max(peaks[0], peaks[1]), 20 * std::log10(std::fabs(loudest)));
    }
    if (!each) continue;
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[1] - reported[0], 128U);
    EXPECT_EQ(log.Count(L" | CAnalysisData::LoadQueue | < 480!\n"), 256U / 8 * 3);
  }
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
