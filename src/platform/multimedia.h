// Multimedia device interfaces: endpoint enumeration and property stores. On Windows the platform's
// headers declare them; elsewhere this header declares the same interfaces with the same
// identifiers and slot order.
#pragma once

#include "orv_apo/com.h"

#ifdef _WIN32
#include <mmdeviceapi.h>
#include <propidl.h>
#include <propsys.h>

#else

struct PROPERTYKEY {
  GUID fmtid;
  DWORD pid;
};
static_assert(sizeof(PROPERTYKEY) == 20);

// The kinds of property values that endpoint stores hold: VT_EMPTY, VT_LPWSTR (task memory),
// VT_UI4, VT_BLOB.
struct BLOB {
  ULONG cbSize;
  BYTE* pBlobData;
};
struct PROPVARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG hVal;
    ULONG ulVal;
    LPWSTR pwszVal;
    BLOB blob;
  };
};
static_assert(sizeof(PROPVARIANT) == 24);

inline void PropVariantInit(PROPVARIANT* value) noexcept { std::memset(value, 0, sizeof *value); }
inline HRESULT PropVariantClear(PROPVARIANT* value) noexcept {
  if (value == nullptr) return E_INVALIDARG;
  if (value->vt == VT_LPWSTR) CoTaskMemFree(value->pwszVal);
  if (value->vt == VT_BLOB) CoTaskMemFree(value->blob.pBlobData);
  PropVariantInit(value);
  return S_OK;
}

enum EDataFlow : LONG { eRender = 0, eCapture = 1, eAll = 2 };
enum ERole : LONG { eConsole = 0, eMultimedia = 1, eCommunications = 2 };

inline constexpr DWORD DEVICE_STATE_ACTIVE = 1;
inline constexpr DWORD DEVICE_STATE_DISABLED = 2;
inline constexpr DWORD DEVICE_STATE_NOTPRESENT = 4;
inline constexpr DWORD DEVICE_STATE_UNPLUGGED = 8;
inline constexpr DWORD DEVICE_STATEMASK_ALL = 15;

inline constexpr DWORD STGM_READ = 0;
inline constexpr DWORD CLSCTX_ALL = 23;

struct IPropertyStore : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) = 0;
  // The caller clears the value with PropVariantClear; a missing property gives S_OK and VT_EMPTY.
  virtual HRESULT STDMETHODCALLTYPE GetValue(const PROPERTYKEY& key, PROPVARIANT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetValue(const PROPERTYKEY& key, const PROPVARIANT& value) = 0;
  virtual HRESULT STDMETHODCALLTYPE Commit() = 0;
};

struct IMMDevice : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD context, PROPVARIANT* parameters,
                                             void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) = 0;  // task memory
  virtual HRESULT STDMETHODCALLTYPE GetState(DWORD* state) = 0;
};

struct IMMEndpoint : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) = 0;
};

struct IMMDeviceCollection : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) = 0;
};

struct IMMNotificationClient;

struct IMMDeviceEnumerator : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD state_mask,
                                                       IMMDeviceCollection** devices) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                            IMMDevice** device) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  RegisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  UnregisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
};

ORV_APO_INTERFACE_ID(IPropertyStore, 886D8EEB, 8CF2, 4446, 8D, 02, CD, BA, 1D, BD, CF, 99);
ORV_APO_INTERFACE_ID(IMMDevice, D666063F, 1587, 4E43, 81, F1, B9, 48, E8, 07, 36, 3F);
ORV_APO_INTERFACE_ID(IMMEndpoint, 1BE09788, 6894, 4089, 85, 86, 9A, 2A, 6C, 26, 5A, C5);
ORV_APO_INTERFACE_ID(IMMDeviceCollection, 0BD7A1BE, 7A1A, 44DB, 83, 97, CC, 53, 92, 38, 7B, 5E);
ORV_APO_INTERFACE_ID(IMMDeviceEnumerator, A95664D2, 9614, 4F35, A7, 46, DE, 8D, B6, 36, 17, E6);

#endif
