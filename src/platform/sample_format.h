// Interleaved samples as audio streams and wave files hold them, little-endian.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/audio_client.h"

namespace orv {

enum class SampleFormat { Pcm16, Pcm24, Pcm32, Float32 };

constexpr std::size_t SampleBytes(SampleFormat format) noexcept {
  return format == SampleFormat::Pcm16 ? 2 : format == SampleFormat::Pcm24 ? 3 : 4;
}

// The format with its extension, which `cbSize` must announce; null for any other.
inline const WAVEFORMATEXTENSIBLE* AsExtensible(const WAVEFORMATEX& format) noexcept {
  constexpr WORD kExtension = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
  if (format.wFormatTag != WAVE_FORMAT_EXTENSIBLE || format.cbSize < kExtension) return nullptr;
  return reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(&format);
}

// Returns nullopt for other samples, for no channels and for frames with more than their samples.
inline std::optional<SampleFormat> SampleFormatOf(const WAVEFORMATEX& format) noexcept {
  bool is_float = format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT;
  bool is_pcm = format.wFormatTag == WAVE_FORMAT_PCM;
  if (const WAVEFORMATEXTENSIBLE* extensible = AsExtensible(format)) {
    const GUID sub_format = extensible->SubFormat;  // unaligned in the structure
    is_float = IsEqualGUID(sub_format, kSubFormatFloat);
    is_pcm = IsEqualGUID(sub_format, kSubFormatPcm);
  }
  std::optional<SampleFormat> found;
  if (is_float && format.wBitsPerSample == 32) found = SampleFormat::Float32;
  if (is_pcm && format.wBitsPerSample == 16) found = SampleFormat::Pcm16;
  if (is_pcm && format.wBitsPerSample == 24) found = SampleFormat::Pcm24;
  if (is_pcm && format.wBitsPerSample == 32) found = SampleFormat::Pcm32;
  const bool plain = format.nChannels != 0 && found &&
                     format.nBlockAlign == format.nChannels * SampleBytes(*found);
  return plain ? found : std::nullopt;
}

// One sample of any alignment as a number; full scale is 1.
template <SampleFormat kFormat>
float LoadSample(const std::uint8_t* bytes) noexcept {
  if constexpr (kFormat == SampleFormat::Float32) {
    float sample;
    std::memcpy(&sample, bytes, sizeof sample);
    return sample;
  } else {
    // The bytes at the upper end of a 32-bit word, so that its sign is theirs.
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < SampleBytes(kFormat); ++i)
      word |= std::uint32_t{bytes[i]} << (8 * (4 - SampleBytes(kFormat) + i));
    return static_cast<float>(static_cast<std::int32_t>(word)) * 0x1p-31F;
  }
}

inline float LoadSample(SampleFormat format, const std::uint8_t* bytes) noexcept {
  switch (format) {
    case SampleFormat::Pcm16:
      return LoadSample<SampleFormat::Pcm16>(bytes);
    case SampleFormat::Pcm24:
      return LoadSample<SampleFormat::Pcm24>(bytes);
    case SampleFormat::Pcm32:
      return LoadSample<SampleFormat::Pcm32>(bytes);
    case SampleFormat::Float32:
      break;
  }
  return LoadSample<SampleFormat::Float32>(bytes);
}

// Integers are rounded, and limited to what they hold.
inline void StoreSample(SampleFormat format, float sample, std::uint8_t* bytes) noexcept {
  if (format == SampleFormat::Float32) {
    std::memcpy(bytes, &sample, sizeof sample);
    return;
  }
  const std::size_t size = SampleBytes(format);
  const double scale = std::ldexp(1.0, static_cast<int>(8 * size) - 1);
  const double limited = std::clamp(std::round(sample * scale), -scale, scale - 1);
  const auto number = static_cast<std::uint32_t>(static_cast<std::int64_t>(limited));
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
}

}  // namespace orv
