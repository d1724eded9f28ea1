#include <gmock/gmock.h>

#include <cstring>

#include "platform/audio_client.h"
#include "simulated/machine_folder.h"
#include "simulated/refusal_cases.h"
#include "simulated/sound/stream_buffers.h"

namespace orv {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;

constexpr wchar_t kSpeakers[] = L"{0.0.0.00000000}.{A}";

std::string Word(std::uint32_t number, int bytes = 4) {
  std::string word;
  for (int i = 0; i < bytes; ++i) word += static_cast<char>(number >> (8 * i) & 0xFF);
  return word;
}
std::string Chunk(const std::string& name, const std::string& content) {
  return name + Word(static_cast<std::uint32_t>(content.size())) + content +
         std::string(content.size() % 2, '\0');
}
std::string Format(std::uint32_t tag, std::uint32_t channels, std::uint32_t bits) {
  const std::uint32_t frame = channels * bits / 8;
  return Chunk("fmt ", Word(tag, 2) + Word(channels, 2) + Word(48000) + Word(48000 * frame) +
                           Word(frame, 2) + Word(bits, 2));
}
std::string Wav(const std::string& chunks) { return Chunk("RIFF", "WAVE" + chunks); }

TEST(WaveFile, ReadsSamplesOfEveryFormat) {
  const std::tuple<std::uint32_t, std::uint32_t, std::string> files[] = {
      {1, 16, Word(0x4000, 2) + Word(0x8000, 2)},
      {1, 24, Word(0x400000, 3) + Word(0x800000, 3)},
      {1, 32, Word(0x40000000) + Word(0x80000000)},
      {3, 32, Word(0x3F000000) + Word(0xBF800000)},
  };
  for (const auto& [tag, bits, samples] : files) {
    std::string reason;
    const auto sound =
        ReadWav(Wav(Chunk("LIST", "odd") + Format(tag, 2, bits) + Chunk("data", samples)), reason);
    ASSERT_TRUE(sound) << reason;
    EXPECT_EQ(sound->rate, 48000U);
    EXPECT_EQ(sound->channels, 2U);
    EXPECT_THAT(sound->samples, ElementsAre(0.5F, -1.0F)) << tag << " " << bits;
  }
}

TEST(WaveFile, RefusesInvalidFilesWithAReason) {
  const std::string good = Wav(Format(1, 1, 16) + Chunk("data", Word(1, 2)));
  const std::pair<std::string, const char*> files[] = {
      {"", "not a wave file"},
      {"RIFF\x10", "not a wave file"},
      {Wav(""), "no samples"},
      {Wav(Format(1, 1, 16)), "no samples"},
      {Wav(Chunk("data", "ab") + Format(1, 1, 16)), "no format before"},
      {Wav(Chunk("fmt ", "short") + Chunk("data", "ab")), "no format before"},
      {Wav(Format(1, 1, 8) + Chunk("data", "ab")), "samples are neither"},
      {Wav(Format(3, 1, 64) + Chunk("data", "abcdefgh")), "samples are neither"},
      {Wav(Format(1, 0, 16) + Chunk("data", "ab")), "samples are neither"},
      {Wav(Format(0xFFFE, 1, 16) + Chunk("data", "ab")), "samples are neither"},
      {Wav(Format(1, 2, 16) + Chunk("data", "ab")), "no whole frames"},
      {Wav(Format(3, 1, 32) + Chunk("data", Word(0x7FC00000))), "not numbers"},
  };
  std::string reason;
  EXPECT_TRUE(ReadWav(good, reason)) << reason;
  for (std::size_t size = 1; size < good.size(); ++size)
    EXPECT_FALSE(ReadWav(good.substr(0, size), reason));
  for (const auto& [bytes, expected] : files) {
    EXPECT_FALSE(ReadWav(bytes, reason));
    EXPECT_THAT(reason, HasSubstr(expected));
  }
}

std::string OnSpeakers(const std::string& playback) {
  return "{\"endpoints\": [{\"endpoint\": \"{0.0.0.00000000}.{a}\",\n" + playback + "}]}";
}

TEST(Playback, RefusalsNameTheLineAndTheReason) {
  const MachineFolder folder;
  std::filesystem::create_directory(folder.path() / "drive_c");
  folder.Write("drive_c/cut.wav", "RIFF");
  folder.Write("drive_c/low.wav", Wav(Format(1, 1, 16) + Chunk("data", Word(1, 2))));
  for (const auto& [line, reason, section] : RefusalCases("playback.txt")) {
    folder.Write(
        "machine.json",
        "{\"endpoints\": [{\"id\": \"{0.0.0.00000000}.{A}\"}],\n\"playback\":\n" + section + "}");
    const FileError error = folder.Refusal();
    EXPECT_EQ(error.file.filename(), "machine.json");
    EXPECT_EQ(error.line, line + 2) << section << error.Text();
    EXPECT_THAT(error.reason, HasSubstr(reason)) << section;
  }
}

// A loopback stream on speakers of one channel, as the audio engine has it.
class Listener {
 public:
  Listener(const std::string& endpoint, const std::string& clock,
           const std::filesystem::path& drive_c = {}) {
    std::vector<SimulatedEndpoint> endpoints(1);
    endpoints[0].id = kSpeakers;
    FileError error;
    auto playback =
        ParsePlayback("{\"clock\": \"" + clock + "\"," +
                          OnSpeakers("\"mix_format\": {\"channels\": 1}, " + endpoint).substr(1),
                      endpoints, drive_c, error);
    EXPECT_TRUE(playback) << error.Text();
    sound->Play(playback.value_or(PlaybackDescription()));
    stream.emplace(StreamSetting{sound, sound->SoundOf(kSpeakers), SampleFormat::Float32, 1056});
    EXPECT_EQ(stream->Start(), S_OK);
  }

  HRESULT Take() { return stream->Take(&data, &frames, &flags, &position); }
  std::vector<float> Packet() {
    EXPECT_EQ(Take(), S_OK);
    std::vector<float> samples(frames);
    std::memcpy(samples.data(), data, frames * sizeof(float));
    EXPECT_EQ(stream->GiveBack(frames), S_OK);
    return samples;
  }

  std::shared_ptr<SimulatedSound> sound = std::make_shared<SimulatedSound>();
  std::optional<CaptureBuffer> stream;
  BYTE* data = nullptr;
  UINT32 frames = 0;
  DWORD flags = 0;
  UINT64 position = 0;
};

TEST(Loopback, PacketsComeAsTimeGoesByAndTheOldestGetLost) {
  Listener listener(R"("sounds": [{"kind": "clicks", "every": 480, "level": -20}])", "held");
  EXPECT_EQ(listener.Take(), AUDCLNT_S_BUFFER_EMPTY);
  listener.sound->clock().Step(std::chrono::microseconds(9999));
  EXPECT_EQ(listener.Take(), AUDCLNT_S_BUFFER_EMPTY);
  listener.sound->clock().Step(std::chrono::microseconds(1));
  const auto samples = listener.Packet();
  EXPECT_EQ(samples.size(), 480U);
  EXPECT_THAT(samples[0], FloatNear(0.1F, 1e-7F));
  EXPECT_EQ(samples[1], 0);
  EXPECT_EQ(listener.flags, 0U);
  EXPECT_EQ(listener.stream->NextPacket(), 0U);
  listener.sound->clock().Step(std::chrono::hours(1000));
  listener.Packet();
  EXPECT_EQ(listener.flags, AUDCLNT_BUFFERFLAGS_DATA_DISCONTINUITY);
  EXPECT_EQ(listener.position, 480 + 3600ULL * 1000 * 48000 - 960) << "two are kept";
  listener.Packet();
  EXPECT_EQ(listener.flags, 0U);
  EXPECT_EQ(listener.stream->NextPacket(), 0U);
}

TEST(Loopback, CallsOutOfOrderAreRefused) {
  Listener listener(R"("sounds": [{"kind": "noise"}])", "on_demand");
  EXPECT_EQ(listener.stream->GiveBack(480), AUDCLNT_E_OUT_OF_ORDER);
  EXPECT_EQ(listener.Take(), S_OK);
  EXPECT_EQ(listener.Take(), AUDCLNT_E_OUT_OF_ORDER);
  EXPECT_EQ(listener.stream->GiveBack(479), AUDCLNT_E_INVALID_SIZE);
  EXPECT_EQ(listener.stream->GiveBack(480), S_OK);
  EXPECT_EQ(listener.stream->Start(), AUDCLNT_E_NOT_STOPPED);
  EXPECT_EQ(listener.stream->Stop(), S_OK);
  EXPECT_EQ(listener.stream->Stop(), S_FALSE);
  EXPECT_EQ(listener.stream->NextPacket(), 0U);
}

TEST(Loopback, SoundsEndOrBeginAnew) {
  const TemporaryFolder drive_c;
  std::ofstream(drive_c.path() / "Three.wav", std::ios::binary) << Wav(
      Format(3, 1, 32) + Chunk("data", Word(0x3F000000) + Word(0x3E800000) + Word(0x3E000000)));
  for (const bool loop : {false, true}) {
    Listener listener(R"("packets": {"frames": [4, 3]}, "sounds": [
        {"kind": "file", "path": "C:\\three.WAV", "level": 0, "loop": )" +
                          std::string(loop ? "true}]" : "false}]"),
                      "on_demand", drive_c.path());
    EXPECT_THAT(listener.Packet(), ElementsAre(0.5F, 0.25F, 0.125F, loop ? 0.5F : 0.0F));
    EXPECT_EQ(listener.stream->NextPacket(), 0U);
    EXPECT_THAT(listener.Packet(), ElementsAre(loop ? 0.25F : 0.0F, testing::_, testing::_));
    EXPECT_EQ(listener.flags, loop ? 0U : DWORD{AUDCLNT_BUFFERFLAGS_SILENT});
  }
}

TEST(Loopback, SweepRunsFromItsFirstToItsLastFrequency) {
  SoundSource sweep;
  sweep.kind = SoundSource::Kind::Sweep;
  sweep.frequency = 100;
  sweep.last_frequency = 6400;
  sweep.length = 6 * 48000;
  std::vector<float> samples(sweep.length);
  EXPECT_TRUE(AddSource(sweep, {48000, 1}, 0, samples));
  // An octave a second: 100 / ln 2 turns in the first second, 64 times as many over the last.
  const auto turns = [&](std::size_t second) {
    int crossings = 0;
    for (std::size_t i = second * 48000 + 1; i < (second + 1) * 48000; ++i)
      crossings += samples[i - 1] < 0 && samples[i] >= 0 ? 1 : 0;
    return crossings;
  };
  EXPECT_NEAR(turns(0), 144, 1);
  EXPECT_NEAR(turns(5), 4617, 2);
}

}  // namespace
}  // namespace orv
