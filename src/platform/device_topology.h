// Device topology and kernel-streaming control: how an endpoint's path to its wave filter is
// walked. On Windows the platform's headers declare these interfaces; elsewhere this header
// declares the same ones with the same identifiers and slot order.
#pragma once

#include "platform/multimedia.h"

#ifdef _WIN32
// Some headers of the platform spell two names differently.
#define GetTopologyObjects GetTopologyObject
#define ISubUnit ISubunit
#include <devicetopology.h>
#undef GetTopologyObjects
#undef ISubUnit
#include <ks.h>
#include <ksproxy.h>
#else

enum ConnectorType : LONG {
  Unknown_Connector = 0,
  Physical_Internal = 1,
  Physical_External = 2,
  Software_IO = 3,
  Software_Fixed = 4,
  Network = 5,
};
enum PartType : LONG { Connector = 0, Subunit = 1 };
enum DataFlow : LONG { In = 0, Out = 1 };

// Property requests start with this; node requests append the node identifier and a reserved word.
struct KSIDENTIFIER {
  GUID Set;
  ULONG Id;
  ULONG Flags;
};
using KSPROPERTY = KSIDENTIFIER;
using PKSPROPERTY = KSPROPERTY*;
static_assert(sizeof(KSPROPERTY) == 24);

struct IDeviceTopology;
struct IPart;
struct ISubunit;
struct IControlInterface;
struct IControlChangeNotify;

struct IPartsList : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPart(UINT index, IPart** part) = 0;
};

struct IConnector : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetType(ConnectorType* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDataFlow(DataFlow* flow) = 0;
  virtual HRESULT STDMETHODCALLTYPE ConnectTo(IConnector* other) = 0;
  virtual HRESULT STDMETHODCALLTYPE Disconnect() = 0;
  virtual HRESULT STDMETHODCALLTYPE IsConnected(BOOL* connected) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetConnectedTo(IConnector** other) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetConnectorIdConnectedTo(LPWSTR* id) = 0;  // task memory
  virtual HRESULT STDMETHODCALLTYPE GetDeviceIdConnectedTo(LPWSTR* id) = 0;     // task memory
};

struct IPart : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetName(LPWSTR* name) = 0;  // task memory
  virtual HRESULT STDMETHODCALLTYPE GetLocalId(UINT* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetGlobalId(LPWSTR* id) = 0;  // task memory
  virtual HRESULT STDMETHODCALLTYPE GetPartType(PartType* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSubType(GUID* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetControlInterfaceCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetControlInterface(UINT index,
                                                        IControlInterface** control) = 0;
  // kNotFound when nothing is connected on that side.
  virtual HRESULT STDMETHODCALLTYPE EnumPartsIncoming(IPartsList** parts) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumPartsOutgoing(IPartsList** parts) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTopologyObject(IDeviceTopology** topology) = 0;
  virtual HRESULT STDMETHODCALLTYPE Activate(DWORD context, REFIID iid, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE RegisterControlChangeCallback(REFGUID iid,
                                                                  IControlChangeNotify* notify) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  UnregisterControlChangeCallback(IControlChangeNotify* notify) = 0;
};

struct IDeviceTopology : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetConnectorCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetConnector(UINT index, IConnector** connector) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSubunitCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSubunit(UINT index, ISubunit** subunit) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPartById(UINT id, IPart** part) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDeviceId(LPWSTR* id) = 0;  // task memory
  virtual HRESULT STDMETHODCALLTYPE GetSignalPath(IPart* from, IPart* to, BOOL reject_mixed_paths,
                                                  IPartsList** parts) = 0;
};

// Input and output selectors: which part (by local identifier) the path runs through.
struct IAudioInputSelector : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetSelection(UINT* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSelection(UINT id, const GUID* event_context) = 0;
};
struct IAudioOutputSelector : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetSelection(UINT* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSelection(UINT id, const GUID* event_context) = 0;
};

struct IKsControl : IUnknown {
  // One property request; for a get, `data` takes the answer and `returned` its size (a buffer of
  // size 0 asks for the size: more-data status and the size).
  virtual HRESULT STDMETHODCALLTYPE KsProperty(PKSPROPERTY property, ULONG property_size,
                                               void* data, ULONG data_size, ULONG* returned) = 0;
  virtual HRESULT STDMETHODCALLTYPE KsMethod(KSIDENTIFIER* method, ULONG method_size, void* data,
                                             ULONG data_size, ULONG* returned) = 0;
  virtual HRESULT STDMETHODCALLTYPE KsEvent(KSIDENTIFIER* event, ULONG event_size, void* data,
                                            ULONG data_size, ULONG* returned) = 0;
};

inline constexpr IID IID_IPartsList = {
    0x6DAA848C, 0x5EB0, 0x45CC, {0xAE, 0xA5, 0x99, 0x8A, 0x2C, 0xDA, 0x1F, 0xFB}};
inline constexpr IID IID_IConnector = {
    0x9C2C4058, 0x23F5, 0x41DE, {0x87, 0x7A, 0xDF, 0x3A, 0xF2, 0x36, 0xA0, 0x9E}};
inline constexpr IID IID_IPart = {
    0xAE2DE0E4, 0x5BCA, 0x4F2D, {0xAA, 0x46, 0x5D, 0x13, 0xF8, 0xFD, 0xB3, 0xA9}};
inline constexpr IID IID_IDeviceTopology = {
    0x2A07407E, 0x6497, 0x4A18, {0x97, 0x87, 0x32, 0xF7, 0x9B, 0xD0, 0xD9, 0x8F}};
inline constexpr IID IID_IAudioInputSelector = {
    0x4F03DC02, 0x5E6E, 0x4653, {0x8F, 0x72, 0xA0, 0x30, 0xC1, 0x23, 0xD5, 0x98}};
inline constexpr IID IID_IAudioOutputSelector = {
    0xBB515F69, 0x94A7, 0x429E, {0x8B, 0x9C, 0x27, 0x1B, 0x3F, 0x11, 0xA3, 0xAB}};
inline constexpr IID IID_IKsControl = {
    0x28F54685, 0x06FD, 0x11D2, {0xB2, 0x7A, 0x00, 0xA0, 0xC9, 0x22, 0x31, 0x96}};

#endif

template <>
struct orv_apo::InterfaceId<IPartsList> {
  static constexpr const IID& value = IID_IPartsList;
};
template <>
struct orv_apo::InterfaceId<IConnector> {
  static constexpr const IID& value = IID_IConnector;
};
template <>
struct orv_apo::InterfaceId<IPart> {
  static constexpr const IID& value = IID_IPart;
};
template <>
struct orv_apo::InterfaceId<IDeviceTopology> {
  static constexpr const IID& value = IID_IDeviceTopology;
};
template <>
struct orv_apo::InterfaceId<IAudioInputSelector> {
  static constexpr const IID& value = IID_IAudioInputSelector;
};
template <>
struct orv_apo::InterfaceId<IAudioOutputSelector> {
  static constexpr const IID& value = IID_IAudioOutputSelector;
};
template <>
struct orv_apo::InterfaceId<IKsControl> {
  static constexpr const IID& value = IID_IKsControl;
};
