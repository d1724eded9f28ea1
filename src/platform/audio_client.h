// Audio streams of an endpoint in shared mode: capture (loopback included) and render. On Windows
// the platform's headers declare these interfaces; elsewhere this header declares the same ones
// with the same identifiers and slot order.
#pragma once

#include "platform/multimedia.h"

#ifdef _WIN32
#include <audioclient.h>
#include <mmreg.h>

#else

using UINT32 = std::uint32_t;
using UINT64 = std::uint64_t;
using HANDLE = void*;
using LPCGUID = const GUID*;
using REFERENCE_TIME = LONGLONG;  // 100-nanosecond units

#pragma pack(push, 1)
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;  // bytes of a frame
  WORD wBitsPerSample;
  WORD cbSize;  // bytes that follow
};
struct WAVEFORMATEXTENSIBLE {
  WAVEFORMATEX Format;
  union {
    WORD wValidBitsPerSample;
    WORD wSamplesPerBlock;
    WORD wReserved;
  } Samples;
  DWORD dwChannelMask;
  GUID SubFormat;
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 18 && sizeof(WAVEFORMATEXTENSIBLE) == 40);

inline constexpr WORD WAVE_FORMAT_PCM = 1;
inline constexpr WORD WAVE_FORMAT_IEEE_FLOAT = 3;
inline constexpr WORD WAVE_FORMAT_EXTENSIBLE = 0xFFFE;

enum AUDCLNT_SHAREMODE : LONG { AUDCLNT_SHAREMODE_SHARED = 0, AUDCLNT_SHAREMODE_EXCLUSIVE = 1 };

inline constexpr DWORD AUDCLNT_STREAMFLAGS_LOOPBACK = 0x00020000;
inline constexpr DWORD AUDCLNT_BUFFERFLAGS_DATA_DISCONTINUITY = 1;
inline constexpr DWORD AUDCLNT_BUFFERFLAGS_SILENT = 2;  // the data does not count

inline constexpr HRESULT AUDCLNT_E_NOT_INITIALIZED = static_cast<HRESULT>(0x88890001);
inline constexpr HRESULT AUDCLNT_E_ALREADY_INITIALIZED = static_cast<HRESULT>(0x88890002);
inline constexpr HRESULT AUDCLNT_E_WRONG_ENDPOINT_TYPE = static_cast<HRESULT>(0x88890003);
inline constexpr HRESULT AUDCLNT_E_DEVICE_INVALIDATED = static_cast<HRESULT>(0x88890004);
inline constexpr HRESULT AUDCLNT_E_NOT_STOPPED = static_cast<HRESULT>(0x88890005);
inline constexpr HRESULT AUDCLNT_E_BUFFER_TOO_LARGE = static_cast<HRESULT>(0x88890006);
inline constexpr HRESULT AUDCLNT_E_OUT_OF_ORDER = static_cast<HRESULT>(0x88890007);
inline constexpr HRESULT AUDCLNT_E_UNSUPPORTED_FORMAT = static_cast<HRESULT>(0x88890008);
inline constexpr HRESULT AUDCLNT_E_INVALID_SIZE = static_cast<HRESULT>(0x88890009);
inline constexpr HRESULT AUDCLNT_E_EXCLUSIVE_MODE_NOT_ALLOWED = static_cast<HRESULT>(0x8889000E);
inline constexpr HRESULT AUDCLNT_E_EVENTHANDLE_NOT_EXPECTED = static_cast<HRESULT>(0x88890011);
inline constexpr HRESULT AUDCLNT_S_BUFFER_EMPTY = 0x08890001;  // success: no packet is ready

struct IAudioClient : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Initialize(AUDCLNT_SHAREMODE mode, DWORD flags,
                                               REFERENCE_TIME buffer_duration,
                                               REFERENCE_TIME periodicity,
                                               const WAVEFORMATEX* format, LPCGUID session) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetBufferSize(UINT32* frames) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetStreamLatency(REFERENCE_TIME* latency) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetCurrentPadding(UINT32* frames) = 0;
  // `closest` (null in exclusive mode) takes task memory.
  virtual HRESULT STDMETHODCALLTYPE IsFormatSupported(AUDCLNT_SHAREMODE mode,
                                                      const WAVEFORMATEX* format,
                                                      WAVEFORMATEX** closest) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMixFormat(WAVEFORMATEX** format) = 0;  // task memory
  virtual HRESULT STDMETHODCALLTYPE GetDevicePeriod(REFERENCE_TIME* default_period,
                                                    REFERENCE_TIME* minimum_period) = 0;
  virtual HRESULT STDMETHODCALLTYPE Start() = 0;
  virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE SetEventHandle(HANDLE event) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetService(REFIID iid, void** service) = 0;
};

struct IAudioRenderClient : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetBuffer(UINT32 frames, BYTE** data) = 0;
  virtual HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames, DWORD flags) = 0;
};

struct IAudioCaptureClient : IUnknown {
  // The next packet, whole; it belongs to the caller until ReleaseBuffer. The positions may be
  // null.
  virtual HRESULT STDMETHODCALLTYPE GetBuffer(BYTE** data, UINT32* frames, DWORD* flags,
                                              UINT64* device_position, UINT64* time) = 0;
  virtual HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNextPacketSize(UINT32* frames) = 0;  // 0: none is ready
};

ORV_APO_INTERFACE_ID(IAudioClient, 1CB9AD4C, DBFA, 4C32, B1, 78, C2, F5, 68, A7, 03, B2);
ORV_APO_INTERFACE_ID(IAudioRenderClient, F294ACFC, 3146, 4483, A7, BF, AD, DC, A7, C2, 60, E2);
ORV_APO_INTERFACE_ID(IAudioCaptureClient, C8ADBD64, E71E, 48A0, A4, DE, 18, 5C, 39, 5C, D3, 17);

#endif

namespace orv {

// Sub-formats of the extensible format.
inline constexpr GUID kSubFormatPcm = {
    0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
inline constexpr GUID kSubFormatFloat = {
    0x00000003, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

}  // namespace orv
