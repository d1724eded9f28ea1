#include "simulated/sound/playback_description.h"

#include <fmt/format.h>

#include <cmath>

#include "platform/files.h"
#include "platform/text.h"
#include "simulated/description/json_field.h"
#include "simulated/drive_paths.h"

namespace orv {
namespace {

constexpr std::size_t kLargestSoundFile = std::size_t{256} << 20;  // bytes
constexpr std::uint32_t kLeastRate = 1000;                         // Hz
constexpr std::uint32_t kMostRate = 768000;
constexpr std::uint32_t kMostChannels = 64;
constexpr std::uint32_t kMostPacketFrames = 1 << 20;
constexpr double kMostSeconds = 1e6;

constexpr JsonField::Named<MixFormatKind> kFormats[] = {
    {"extensible_float", MixFormatKind::ExtensibleFloat},
    {"extensible_pcm", MixFormatKind::ExtensiblePcm},
    {"float", MixFormatKind::Float},
    {"pcm", MixFormatKind::Pcm}};
constexpr JsonField::Named<SoundSource::Kind> kSoundKinds[] = {
    {"tone", SoundSource::Kind::Tone},
    {"sweep", SoundSource::Kind::Sweep},
    {"noise", SoundSource::Kind::Noise},
    {"clicks", SoundSource::Kind::Clicks},
    {"file", SoundSource::Kind::File}};
// By kind, besides the keys that all of them have.
const std::vector<std::string_view> kSoundKeys[] = {{"seconds", "frequency", "phase"},
                                                    {"seconds", "from", "to"},
                                                    {"seconds", "seed"},
                                                    {"seconds", "every"},
                                                    {"path"}};

double Level(const JsonField& field) {
  return std::pow(10, field.Real(-200, 0, "expected a level in dB from -200 to 0") / 20);
}

double Frequency(const JsonField& field, const SoundShape& shape) {
  return field.Real(0.001, shape.rate / 2.0, "expected a frequency in Hz up to half the rate");
}

std::shared_ptr<const WavSound> ReadSoundFile(const JsonField& field, const SoundShape& shape,
                                              const std::filesystem::path& drive_c) {
  const auto path = HostFile(drive_c, field.WideText());
  if (!path)
    field.Refuse("does not lead to a file; expected a path like \"C:\\\\Sounds\\\\tone.wav\"");
  std::string reason;
  const auto bytes = ReadWholeFile(*path, kLargestSoundFile, reason);
  if (!bytes) field.Refuse(reason);
  auto sound = ReadWav(*bytes, reason);
  if (!sound) field.Refuse(reason);
  if (sound->rate != shape.rate) {
    field.Refuse(fmt::format("the file has {} Hz, the endpoint {}", sound->rate, shape.rate));
  }
  return std::make_shared<const WavSound>(std::move(*sound));
}

void ReadLength(const JsonField& field, const SoundShape& shape, SoundSource& source) {
  if (source.kind == SoundSource::Kind::File) {
    source.length = source.file->frames();
    return;
  }
  const auto seconds =
      source.kind == SoundSource::Kind::Sweep ? field.Need("seconds") : field.Find("seconds");
  if (!seconds) return;
  const double length =
      seconds->Real(0.001, kMostSeconds, "expected a time in seconds from 0.001 to 1000000");
  source.length = static_cast<std::uint64_t>(std::ceil(length * shape.rate));
}

SoundSource ReadSource(const JsonField& field, const SoundShape& shape,
                       const std::filesystem::path& drive_c) {
  SoundSource source;
  if (field.kind() != JsonField::Kind::Object) field.Refuse("expected an object in braces");
  source.kind = field.Need("kind").Choice(kSoundKinds, "kind of sound");
  std::vector<std::string_view> keys = kSoundKeys[static_cast<std::size_t>(source.kind)];
  keys.insert(keys.end(), {"kind", "channel", "level", "loop"});
  field.ExpectObject(keys);
  if (const auto channel = field.Find("channel"))
    source.channel = channel->NumberWithin(0, shape.channels - 1);
  if (const auto level = field.Find("level")) source.amplitude = Level(*level);
  if (source.kind == SoundSource::Kind::Tone)
    source.frequency = Frequency(field.Need("frequency"), shape);
  if (const auto phase = field.Find("phase"))
    source.phase = phase->Real(-360, 360, "expected a phase in degrees from -360 to 360") / 360;
  if (source.kind == SoundSource::Kind::Sweep) {
    source.frequency = Frequency(field.Need("from"), shape);
    source.last_frequency = Frequency(field.Need("to"), shape);
  }
  if (const auto seed = field.Find("seed")) source.seed = seed->Number();
  if (source.kind == SoundSource::Kind::Clicks)
    source.every = field.Need("every").NumberWithin(1, UINT32_MAX);
  if (source.kind == SoundSource::Kind::File)
    source.file = ReadSoundFile(field.Need("path"), shape, drive_c);
  ReadLength(field, shape, source);
  if (const auto loop = field.Find("loop")) source.loop = loop->Boolean();
  return source;
}

void ReadMixFormat(const JsonField& field, EndpointSound& sound) {
  field.ExpectObject({"kind", "rate", "channels", "bits"});
  if (const auto kind = field.Find("kind")) sound.format = kind->Choice(kFormats, "kind of format");
  const bool is_float =
      sound.format == MixFormatKind::ExtensibleFloat || sound.format == MixFormatKind::Float;
  sound.bits = is_float ? 32 : 16;
  if (const auto rate = field.Find("rate"))
    sound.shape.rate = rate->NumberWithin(kLeastRate, kMostRate);
  if (const auto channels = field.Find("channels"))
    sound.shape.channels = channels->NumberWithin(1, kMostChannels);
  if (const auto bits = field.Find("bits")) {
    sound.bits = bits->Number();
    if (is_float && sound.bits != 32) bits->Refuse("floats have 32 bits");
    if (sound.bits != 16 && sound.bits != 24 && sound.bits != 32)
      bits->Refuse("expected 16, 24 or 32");
  }
}

void ReadPackets(const JsonField& field, EndpointSound& sound) {
  field.ExpectObject({"frames", "silent_every", "gap_every"});
  if (const auto frames = field.Find("frames")) {
    if (frames->kind() == JsonField::Kind::Array) {
      for (const JsonField& item : frames->Items())
        sound.packet_frames.push_back(item.NumberWithin(1, kMostPacketFrames));
      if (sound.packet_frames.empty()) frames->Refuse("expected at least one length");
    } else {
      sound.packet_frames.push_back(frames->NumberWithin(1, kMostPacketFrames));
    }
  }
  if (const auto every = field.Find("silent_every")) sound.silent_every = every->Number();
  if (const auto every = field.Find("gap_every")) sound.gap_every = every->Number();
}

EndpointSound ReadEndpointSound(const JsonField& field,
                                const std::vector<SimulatedEndpoint>& endpoints,
                                const std::filesystem::path& drive_c) {
  field.ExpectObject({"endpoint", "mix_format", "packets", "sounds"});
  EndpointSound sound;
  const JsonField id = field.Need("endpoint");
  for (const SimulatedEndpoint& endpoint : endpoints)
    if (EqualsIgnoringCase(endpoint.id, id.WideText())) sound.endpoint = endpoint.id;
  if (sound.endpoint.empty()) id.Refuse("no endpoint of the machine has this identifier");
  if (const auto format = field.Find("mix_format")) ReadMixFormat(*format, sound);
  if (const auto packets = field.Find("packets")) ReadPackets(*packets, sound);
  if (const auto sounds = field.Find("sounds")) {
    for (const JsonField& item : sounds->Items())
      sound.sources.push_back(ReadSource(item, sound.shape, drive_c));
  }
  return sound;
}

void ReadClock(const JsonField& field, PlaybackDescription& playback) {
  const char* const kExpected =
      "expected \"real\", \"held\", \"on_demand\" or a speed from 0.001 to 1000";
  if (field.kind() != JsonField::Kind::Text) {
    playback.speed = field.Real(0.001, 1000, kExpected);
  } else if (field.Text() == "held") {
    playback.speed = 0;
  } else if (field.Text() == "on_demand") {
    playback.pace = Pace::OnDemand;
  } else if (field.Text() != "real") {
    field.Refuse(kExpected);
  }
}

PlaybackDescription ReadPlayback(const JsonField& field,
                                 const std::vector<SimulatedEndpoint>& endpoints,
                                 const std::filesystem::path& drive_c) {
  field.ExpectObject({"clock", "endpoints"});
  PlaybackDescription playback;
  if (const auto clock = field.Find("clock")) ReadClock(*clock, playback);
  const auto sounds = field.Find("endpoints");
  if (!sounds) return playback;
  for (const JsonField& item : sounds->Items()) {
    EndpointSound sound = ReadEndpointSound(item, endpoints, drive_c);
    for (const EndpointSound& other : playback.endpoints)
      if (other.endpoint == sound.endpoint)
        item.Need("endpoint").Refuse("this endpoint comes twice");
    playback.endpoints.push_back(std::move(sound));
  }
  return playback;
}

}  // namespace

std::optional<PlaybackDescription> ParsePlayback(std::string_view text,
                                                 const std::vector<SimulatedEndpoint>& endpoints,
                                                 const std::filesystem::path& drive_c,
                                                 FileError& error) {
  if (text.empty()) return PlaybackDescription();
  return ReadJson(text, "playback", error,
                  [&](const JsonField& field) { return ReadPlayback(field, endpoints, drive_c); });
}

}  // namespace orv
