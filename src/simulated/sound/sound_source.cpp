// Generates the samples of what an endpoint plays.
#include <cmath>
#include <numbers>

#include "simulated/sound/playback_description.h"

namespace orv {
namespace {

double SineOfTurns(double turns) {
  return std::sin(2 * std::numbers::pi * (turns - std::floor(turns)));
}

// Of an exponential sweep, in turns since its beginning.
double SweepTurns(const SoundSource& source, double seconds, double length) {
  const double ratio = std::log(source.last_frequency / source.frequency);
  if (ratio == 0) return source.frequency * seconds;
  return source.frequency * length / ratio * std::expm1(ratio * seconds / length);
}

// Uniform in [-1, 1), the same for the same frame, channel and seed (SplitMix64).
double NoiseAt(std::uint64_t frame, std::uint32_t channel, std::uint32_t seed) {
  std::uint64_t word = (frame * 64 + channel) * 0x9E3779B97F4A7C15U + seed * 0xD1B54A32D192ED03U;
  word = (word ^ (word >> 30)) * 0xBF58476D1CE4E5B9U;
  word = (word ^ (word >> 27)) * 0x94D049BB133111EBU;
  word ^= word >> 31;
  return static_cast<double>(static_cast<std::int64_t>(word)) * 0x1p-63;
}

double FileAt(const WavSound& file, std::uint64_t frame, std::uint32_t channel) {
  const std::uint32_t from = file.channels == 1 ? 0 : channel;
  return from < file.channels ? double{file.samples[frame * file.channels + from]} : 0.0;
}

double SampleAt(const SoundSource& source, const SoundShape& shape, std::uint64_t frame,
                std::uint32_t channel) {
  const double seconds = static_cast<double>(frame) / shape.rate;
  switch (source.kind) {
    case SoundSource::Kind::Tone:
      return SineOfTurns(source.frequency * seconds + source.phase);
    case SoundSource::Kind::Sweep:
      return SineOfTurns(
          SweepTurns(source, seconds, static_cast<double>(source.length) / shape.rate));
    case SoundSource::Kind::Noise:
      return NoiseAt(frame, channel, source.seed);
    case SoundSource::Kind::Clicks:
      return frame % source.every == 0 ? 1 : 0;
    case SoundSource::Kind::File:
      return FileAt(*source.file, frame, channel);
  }
  return 0;
}

}  // namespace

bool AddSource(const SoundSource& source, const SoundShape& shape, std::uint64_t position,
               std::span<float> samples) {
  const std::uint32_t first = source.channel.value_or(0);
  const std::uint32_t last = source.channel ? first + 1 : shape.channels;
  bool added = false;
  for (std::size_t i = 0; i + shape.channels <= samples.size(); i += shape.channels, ++position) {
    std::uint64_t frame = position;
    if (source.length != 0 && frame >= source.length) {
      if (!source.loop) break;
      frame %= source.length;
    }
    added = true;
    // All sources but files and noise are the same on every channel.
    const bool alike =
        source.kind != SoundSource::Kind::File && source.kind != SoundSource::Kind::Noise;
    double sample = 0;
    for (std::uint32_t c = first; c < last; ++c) {
      if (c == first || !alike) sample = source.amplitude * SampleAt(source, shape, frame, c);
      samples[i + c] += static_cast<float>(sample);
    }
  }
  return added;
}

}  // namespace orv
