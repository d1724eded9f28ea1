#include "analysis/loopback_stream.h"

#include <utility>

namespace orv {
namespace {

// The engine converts for us.
void PreferFloat(WAVEFORMATEX& format) {
  if (AsExtensible(format) == nullptr) return;
  auto& extensible = reinterpret_cast<WAVEFORMATEXTENSIBLE&>(format);
  const GUID sub_format = extensible.SubFormat;
  if (!IsEqualGUID(sub_format, kSubFormatPcm)) return;
  extensible.SubFormat = kSubFormatFloat;
  extensible.Samples.wValidBitsPerSample = 32;
  format.wBitsPerSample = 32;
  format.nBlockAlign = static_cast<WORD>(format.nChannels * sizeof(float));
  format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
}

}  // namespace

HRESULT FindDevice(Machine& machine, const std::wstring& device_id, ComPtr<IMMDevice>& device) {
  ComPtr<IMMDeviceEnumerator> enumerator;
  const HRESULT status = machine.CreateDeviceEnumerator(enumerator.Put());
  return FAILED(status) ? status : enumerator->GetDevice(device_id.c_str(), device.Put());
}

HRESULT ActivateAudioClient(IMMDevice& device, ComPtr<IAudioClient>& client, MixFormat& format) {
  const HRESULT status = device.Activate(IID_IAudioClient, CLSCTX_ALL, nullptr, client.PutVoid());
  return FAILED(status) ? status : client->GetMixFormat(OutPtr(format));
}

HRESULT OpenLoopbackStream(Machine& machine, const std::wstring& device_id,
                           LoopbackStream& stream) {
  ComPtr<IMMDevice> device;
  HRESULT status = FindDevice(machine, device_id, device);
  if (FAILED(status)) return status;
  LoopbackStream opened;
  MixFormat format;
  status = ActivateAudioClient(*device, opened.client, format);
  if (FAILED(status)) return status;
  PreferFloat(*format);
  const auto sample_format = SampleFormatOf(*format);
  if (!sample_format) return AUDCLNT_E_UNSUPPORTED_FORMAT;

  REFERENCE_TIME period = 0;
  status = opened.client->GetDevicePeriod(&period, nullptr);
  if (FAILED(status)) return status;
  constexpr REFERENCE_TIME kPeriodicity = 0;  // as the shared mode demands
  status = opened.client->Initialize(AUDCLNT_SHAREMODE_SHARED, AUDCLNT_STREAMFLAGS_LOOPBACK, period,
                                     kPeriodicity, format.get(), nullptr);
  if (FAILED(status)) return status;
  status = opened.client->GetService(IID_IAudioCaptureClient, opened.capture.PutVoid());
  if (FAILED(status)) return status;
  opened.sample_rate = format->nSamplesPerSec;
  opened.channel_count = format->nChannels;
  opened.sample_format = *sample_format;
  stream = std::move(opened);
  return S_OK;
}

}  // namespace orv
