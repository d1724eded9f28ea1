// The capture stream of what an endpoint plays.
#pragma once

#include <string>

#include "platform/audio_client.h"
#include "platform/com_memory.h"
#include "platform/com_ptr.h"
#include "platform/machine.h"
#include "platform/sample_format.h"

namespace orv {

using MixFormat = UniqueTaskMemory<WAVEFORMATEX>;

// A new audio client of the device with the device's mix format. After a failure neither is of use.
HRESULT ActivateAudioClient(IMMDevice& device, ComPtr<IAudioClient>& client, MixFormat& format);

HRESULT FindDevice(Machine& machine, const std::wstring& device_id, ComPtr<IMMDevice>& device);

struct LoopbackStream {
  ComPtr<IAudioClient> client;
  ComPtr<IAudioCaptureClient> capture;
  std::uint32_t sample_rate = 0;  // Hz
  std::uint32_t channel_count = 0;
  SampleFormat sample_format = SampleFormat::Float32;
};

// Opens the stream, not started. An extensible integer format is changed to 32-bit floats. Any
// other is used unchanged, and refused (AUDCLNT_E_UNSUPPORTED_FORMAT) unless its frames are samples
// of 32 bits, which count as floats, or integers of 16 or 24 bits.
HRESULT OpenLoopbackStream(Machine& machine, const std::wstring& device_id, LoopbackStream& stream);

}  // namespace orv
