// Reads wave files.
#include <cmath>
#include <cstring>

#include "platform/sample_format.h"
#include "simulated/sound/playback_description.h"

namespace orv {
namespace {

constexpr std::size_t kChunkHeader = 8;   // name and size
constexpr std::size_t kPlainFormat = 16;  // bytes of a format chunk without an extension
constexpr std::uint32_t kMostFileChannels = 64;

// Returns the chunk at the beginning of `rest` and moves `rest` past it.
struct Chunk {
  std::string_view name;
  std::string_view content;
};
std::optional<Chunk> NextChunk(std::string_view& rest) {
  if (rest.size() < kChunkHeader) return std::nullopt;
  std::uint32_t size = 0;
  std::memcpy(&size, rest.data() + 4, sizeof size);
  if (size > rest.size() - kChunkHeader) return std::nullopt;
  const Chunk chunk{rest.substr(0, 4), rest.substr(kChunkHeader, size)};
  const std::size_t padded = std::min<std::size_t>(kChunkHeader + size + size % 2, rest.size());
  rest.remove_prefix(padded);
  return chunk;
}

std::optional<WAVEFORMATEXTENSIBLE> ReadFormat(std::string_view content) {
  WAVEFORMATEXTENSIBLE format{};
  if (content.size() < kPlainFormat) return std::nullopt;
  // The file has the layout of memory; a plain chunk has no size of an extension.
  std::memcpy(&format, content.data(), std::min(content.size(), sizeof format));
  if (content.size() < sizeof format) format.Format.cbSize = 0;
  return format;
}

bool ReadSamples(std::string_view content, SampleFormat format, std::vector<float>& samples) {
  const std::size_t size = SampleBytes(format);
  samples.reserve(content.size() / size);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(content.data());
  for (std::size_t at = 0; at + size <= content.size(); at += size) {
    samples.push_back(LoadSample(format, bytes + at));
    if (!std::isfinite(samples.back())) return false;
  }
  return true;
}

}  // namespace

std::optional<WavSound> ReadWav(std::string_view bytes, std::string& reason) {
  const auto refuse = [&](const char* why) {
    reason = why;
    return std::nullopt;
  };
  if (!bytes.starts_with("RIFF") || bytes.size() < 12 || bytes.substr(8, 4) != "WAVE")
    return refuse("not a wave file");
  std::string_view rest = bytes.substr(12);
  std::optional<WAVEFORMATEXTENSIBLE> format;
  while (!rest.empty()) {
    const auto chunk = NextChunk(rest);
    if (!chunk) return refuse("cut short");
    if (chunk->name == "fmt ") format = ReadFormat(chunk->content);
    if (chunk->name != "data") continue;
    if (!format) return refuse("no format before the samples");
    const auto sample_format = SampleFormatOf(format->Format);
    WavSound sound;
    sound.rate = format->Format.nSamplesPerSec;
    sound.channels = format->Format.nChannels;
    if (!sample_format || sound.rate == 0 || sound.channels > kMostFileChannels)
      return refuse("samples are neither integers of 16, 24 or 32 bits nor 32-bit floats");
    if (chunk->content.empty() || chunk->content.size() % format->Format.nBlockAlign != 0)
      return refuse("no whole frames of samples");
    if (!ReadSamples(chunk->content, *sample_format, sound.samples))
      return refuse("samples that are not numbers");
    return sound;
  }
  return refuse("no samples");
}

}  // namespace orv
