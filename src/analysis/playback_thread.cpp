#include <fmt/format.h>

#include <cstring>
#include <stdexcept>

#include "analysis/analysis_object.h"
#include "platform/com_runtime.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr REFERENCE_TIME kBufferDuration = 10000000;  // one second
constexpr std::chrono::milliseconds kWaitSlice{5000};

// A failing status on its way out of the thread's steps.
struct HRException : std::runtime_error {
  explicit HRException(HRESULT status)
      : std::runtime_error(fmt::format("HR error: 0x{:x}", static_cast<unsigned>(status))) {}
};

void ThrowIfFailed(HRESULT status) {
  if (FAILED(status)) throw HRException(status);
}

struct RenderStream {
  ComPtr<IAudioClient> client;
  MixFormat format;
  ComPtr<IAudioRenderClient> render;  // released first
  UINT32 frames = 0;                  // of the whole buffer
};

void OpenRenderStream(IMMDevice& device, RenderStream& stream) {
  ThrowIfFailed(ActivateAudioClient(device, stream.client, stream.format));
  IAudioClient& client = *stream.client;
  ThrowIfFailed(client.Initialize(AUDCLNT_SHAREMODE_SHARED, 0, kBufferDuration, 0,
                                  stream.format.get(), nullptr));
  ThrowIfFailed(client.GetBufferSize(&stream.frames));
  ThrowIfFailed(client.GetService(IID_IAudioRenderClient, stream.render.PutVoid()));
}

// Returns false if the engine gives no buffer.
bool StartSilence(RenderStream& stream) {
  BYTE* data = nullptr;
  if (FAILED(stream.render->GetBuffer(stream.frames, &data)) || data == nullptr) return false;
  std::memset(data, 0, std::size_t{stream.frames} * stream.format->nBlockAlign);
  ThrowIfFailed(stream.render->ReleaseBuffer(stream.frames, 0));
  ThrowIfFailed(stream.client->Start());
  return true;
}

}  // namespace

bool CAnalysisData::PlaybackThread::Run(ORVThreadBasic&, Event& stop) {
  const ComRuntime runtime;
  RenderStream stream;
  try {
    OpenRenderStream(*device_, stream);
    if (!StartSilence(stream)) return true;
    while (!stop.Wait(kWaitSlice)) {
    }
  } catch (const HRException& failure) {
    Diagnose(ORV_HERE("CAnalysisData::PlaybackThread::JoinThread"),
             L"Unable to create playback thread: %s\n", Widen(failure.what()));
  }
  return true;
}

}  // namespace orv
