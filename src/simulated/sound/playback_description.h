// The "playback" section of a machine: what its endpoints play, and how it arrives at a listener.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_error.h"
#include "simulated/description/machine_description.h"
#include "simulated/sound/sound_source.h"

namespace orv {

enum class MixFormatKind { ExtensibleFloat, ExtensiblePcm, Float, Pcm };

struct EndpointSound {
  std::wstring endpoint;  // its identifier
  MixFormatKind format = MixFormatKind::ExtensibleFloat;
  std::uint32_t bits = 32;
  SoundShape shape;
  std::vector<SoundSource> sources;  // empty: silence
  // Packets, in the order of their lengths, over and over.
  std::vector<std::uint32_t> packet_frames;  // empty: a hundredth of a second
  std::uint32_t silent_every = 0;            // of so many packets one is flagged silent; 0: none
  std::uint32_t gap_every = 0;               // after so many packets one gets lost; 0: none
};

// When a listener finds something to hear.
enum class Pace {
  Clock,     // as time goes by
  OnDemand,  // each time it has found nothing, the next packet is ready
};

struct PlaybackDescription {
  Pace pace = Pace::Clock;
  double speed = 1;  // of the clock; 0: held
  std::vector<EndpointSound> endpoints;
};

// Reads the section's text (empty: nothing plays). Files on drive C: lie below `drive_c`. Nothing,
// with line and reason, when it is refused.
std::optional<PlaybackDescription> ParsePlayback(std::string_view text,
                                                 const std::vector<SimulatedEndpoint>& endpoints,
                                                 const std::filesystem::path& drive_c,
                                                 FileError& error);

}  // namespace orv
