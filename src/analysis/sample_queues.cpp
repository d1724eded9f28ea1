#include "analysis/sample_queues.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orv {
namespace {

template <SampleFormat kFormat>
void CopyChannel(const std::uint8_t* first, std::size_t stride, std::span<float> samples) {
  for (float& sample : samples) {
    sample = LoadSample<kFormat>(first);
    first += stride;
  }
}

template <SampleFormat kFormat>
float LargestOf(const std::uint8_t* first, std::size_t stride, std::size_t count, float largest) {
  for (; count != 0; --count, first += stride) {
    const float size = std::fabs(LoadSample<kFormat>(first));
    if (size > largest) largest = size;
  }
  return largest;
}

// Calls operation.template operator()<format>(). 32 bits are taken for a float, whatever the mix
// format calls them; narrower integers are not, for as floats they would run past their packet.
template <class Operation>
void ForFormat(SampleFormat format, Operation&& operation) {
  switch (format) {
    case SampleFormat::Pcm16:
      return operation.template operator()<SampleFormat::Pcm16>();
    case SampleFormat::Pcm24:
      return operation.template operator()<SampleFormat::Pcm24>();
    case SampleFormat::Pcm32:
    case SampleFormat::Float32:
      return operation.template operator()<SampleFormat::Float32>();
  }
}

}  // namespace

void RaisePeaks(const SamplePacket& packet, std::span<float> peaks) {
  if (packet.data == nullptr) return;
  ForFormat(packet.format, [&]<SampleFormat kFormat>() {
    const std::size_t stride = packet.channels * SampleBytes(kFormat);
    for (std::size_t c = 0; c < std::min(packet.channels, peaks.size()); ++c) {
      peaks[c] = LargestOf<kFormat>(packet.data + c * SampleBytes(kFormat), stride, packet.frames,
                                    peaks[c]);
    }
  });
}

void SampleQueues::Append(const SamplePacket& packet) {
  const std::size_t stride = packet.channels * SampleBytes(packet.format);
  const std::size_t second = packet.channels > 1 ? SampleBytes(packet.format) : 0;
  bool whole = std::exchange(has_first_block_, false);
  for (std::size_t frame = 0; frame < packet.frames;) {
    const std::size_t count = std::min(packet.frames - frame, kBlock - filled_);
    const std::span<float> left = std::span(*filling_[0]).subspan(filled_, count);
    const std::span<float> right = std::span(*filling_[1]).subspan(filled_, count);
    if (packet.data == nullptr) {
      std::ranges::fill(left, 0.0F);
      std::ranges::fill(right, 0.0F);
    } else {
      const std::uint8_t* data = packet.data + frame * stride;
      ForFormat(packet.format, [&]<SampleFormat kFormat>() {
        CopyChannel<kFormat>(data, stride, left);
        CopyChannel<kFormat>(data + second, stride, right);
      });
    }
    frame += count;
    filled_ += count;
    if (filled_ == kBlock) {
      FinishBlock();
      whole = true;
    }
  }
  if (whole) return;
  for (Block* block : filling_)
    std::fill(block->begin() + static_cast<std::ptrdiff_t>(filled_), block->end(), 0.0F);
  FinishBlock();
}

void SampleQueues::FinishBlock() noexcept {
  std::swap(filling_, last_);
  filled_ = 0;
}

}  // namespace orv
