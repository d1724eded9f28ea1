// What the analysis of a stream gives, computed in the plainest way and in extended precision.
#pragma once

#include <array>
#include <cmath>
#include <deque>
#include <numbers>
#include <span>
#include <vector>

namespace orv {

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

}  // namespace orv
