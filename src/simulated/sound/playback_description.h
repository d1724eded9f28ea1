// The "playback" section of a machine: what its endpoints play, and how it arrives at a listener.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_error.h"
#include "simulated/description/machine_description.h"

namespace orv {

// The samples of a wave file.
struct WavSound {
  std::uint32_t rate = 0;  // Hz
  std::uint32_t channels = 0;
  std::vector<float> samples;  // interleaved; full scale is 1

  std::size_t frames() const noexcept { return samples.size() / channels; }
};

// Reads a wave file: integer samples of 16, 24 or 32 bits and 32-bit floats, plain or extensible.
// Returns nullopt, with the reason, if the file is invalid or incomplete or a sample is not a
// number.
std::optional<WavSound> ReadWav(std::string_view bytes, std::string& reason);

// What an endpoint plays: generated signals and files, added up. Every sample follows from its
// position alone, so all listeners receive the same ones.
struct SoundSource {
  enum class Kind { Tone, Sweep, Noise, Clicks, File };

  Kind kind = Kind::Tone;
  std::optional<std::uint32_t> channel;  // nullopt: all of them
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

// Adds the source's samples from a position on (in frames) to interleaved samples. Returns false if
// the source has ended and adds nothing.
bool AddSource(const SoundSource& source, const SoundShape& shape, std::uint64_t position,
               std::span<float> samples);

enum class MixFormatKind { ExtensibleFloat, ExtensiblePcm, Float, Pcm };

struct EndpointSound {
  std::wstring endpoint;  // its identifier
  MixFormatKind format = MixFormatKind::ExtensibleFloat;
  std::uint32_t bits = 32;
  SoundShape shape;
  std::vector<SoundSource> sources;  // empty: silence
  // Packets, in the order of their lengths, over and over.
  std::vector<std::uint32_t> packet_frames;  // empty: a hundredth of a second
  std::uint32_t silent_every = 0;            // one of so many packets is flagged silent; 0: none
  std::uint32_t gap_every = 0;               // after so many packets one gets lost; 0: none
};

// When packets are ready for a listener.
enum class Pace {
  Clock,     // as time goes by
  OnDemand,  // after each time there was none
};

struct PlaybackDescription {
  Pace pace = Pace::Clock;
  double speed = 1;  // of the clock; 0: held
  std::vector<EndpointSound> endpoints;
};

// Reads the section's text (empty: nothing plays). Files on drive C: are below `drive_c`. Returns
// nullopt, with line and reason, if it is refused.
std::optional<PlaybackDescription> ParsePlayback(std::string_view text,
                                                 const std::vector<SimulatedEndpoint>& endpoints,
                                                 const std::filesystem::path& drive_c,
                                                 FileError& error);

}  // namespace orv
