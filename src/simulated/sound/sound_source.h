// What an endpoint plays: generated signals and files, added up. Every sample follows from its
// position alone, so that any number of listeners hear the same.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "simulated/sound/wav_file.h"

namespace orv {

struct SoundSource {
  enum class Kind { Tone, Sweep, Noise, Clicks, File };

  Kind kind = Kind::Tone;
  std::optional<std::uint32_t> channel;  // nothing: all of them
  double amplitude = 1;                  // 1 is full scale
  double frequency = 0;                  // Hz; where a sweep begins
  double last_frequency = 0;             // where a sweep ends
  double phase = 0;                      // of a tone's sine at its beginning, in turns
  std::uint32_t seed = 0;                // of noise
  std::uint32_t every = 0;               // frames from click to click
  std::shared_ptr<const WavSound> file;
  std::uint64_t length = 0;  // frames; 0: without end
  bool loop = true;          // begins anew after its length
};

struct SoundShape {
  std::uint32_t rate = 48000;  // Hz
  std::uint32_t channels = 2;
};

// Adds the source's samples from a position on (in frames) to interleaved samples. False when it is
// over and adds nothing.
bool AddSource(const SoundSource& source, const SoundShape& shape, std::uint64_t position,
               std::span<float> samples);

}  // namespace orv
