// The samples of a stream's first two channels on their way into the transform.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/sample_format.h"

namespace orv {

// A packet's interleaved samples. Owned by the audio engine while the packet is held.
struct SamplePacket {
  const std::uint8_t* data;  // null: silence
  std::size_t frames;
  std::size_t channels;
  SampleFormat format;
};

// Raises each peak to the packet's largest absolute sample of that channel; ignores channels
// beyond the peaks, and NaN.
void RaisePeaks(const SamplePacket& packet, std::span<float> peaks);

// Two queues of equal length, taken out in blocks. Only the last whole block is kept.
class SampleQueues {
 public:
  static constexpr std::size_t kQueues = 2;
  static constexpr std::size_t kBlock = 1024;  // samples
  using Block = std::array<float, kBlock>;

  // Appends the packet's first channel to one queue and its second (the only one, of a stream of
  // one channel) to the other. Afterwards there is a whole block: queues that are too short for one
  // are filled up with zeros.
  void Append(const SamplePacket& packet);
  const Block& last_block(std::size_t queue) const noexcept { return *last_[queue]; }

 private:
  void FinishBlock() noexcept;

  // Aligned as the transform likes it best.
  alignas(64) std::array<Block, kQueues> blocks_[2]{};
  std::array<Block*, kQueues> filling_{&blocks_[0][0], &blocks_[0][1]};
  std::array<Block*, kQueues> last_{&blocks_[1][0], &blocks_[1][1]};
  std::size_t filled_ = 0;
  // Both queues start with one block of zeros in them.
  bool has_first_block_ = true;
};

}  // namespace orv
