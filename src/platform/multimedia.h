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

inline constexpr IID IID_IPropertyStore = {
    0x886D8EEB, 0x8CF2, 0x4446, {0x8D, 0x02, 0xCD, 0xBA, 0x1D, 0xBD, 0xCF, 0x99}};
inline constexpr IID IID_IMMDevice = {
    0xD666063F, 0x1587, 0x4E43, {0x81, 0xF1, 0xB9, 0x48, 0xE8, 0x07, 0x36, 0x3F}};
inline constexpr IID IID_IMMEndpoint = {
    0x1BE09788, 0x6894, 0x4089, {0x85, 0x86, 0x9A, 0x2A, 0x6C, 0x26, 0x5A, 0xC5}};
inline constexpr IID IID_IMMDeviceCollection = {
    0x0BD7A1BE, 0x7A1A, 0x44DB, {0x83, 0x97, 0xCC, 0x53, 0x92, 0x38, 0x7B, 0x5E}};
inline constexpr IID IID_IMMDeviceEnumerator = {
    0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};

#endif

template <>
struct orv_apo::InterfaceId<IPropertyStore> {
  static constexpr const IID& value = IID_IPropertyStore;
};
template <>
struct orv_apo::InterfaceId<IMMDevice> {
  static constexpr const IID& value = IID_IMMDevice;
};
template <>
struct orv_apo::InterfaceId<IMMEndpoint> {
  static constexpr const IID& value = IID_IMMEndpoint;
};
template <>
struct orv_apo::InterfaceId<IMMDeviceCollection> {
  static constexpr const IID& value = IID_IMMDeviceCollection;
};
template <>
struct orv_apo::InterfaceId<IMMDeviceEnumerator> {
  static constexpr const IID& value = IID_IMMDeviceEnumerator;
};
