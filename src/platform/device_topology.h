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
  // kNotFound if no part is connected on that side.
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

ORV_APO_INTERFACE_ID(IPartsList, 6DAA848C, 5EB0, 45CC, AE, A5, 99, 8A, 2C, DA, 1F, FB);
ORV_APO_INTERFACE_ID(IConnector, 9C2C4058, 23F5, 41DE, 87, 7A, DF, 3A, F2, 36, A0, 9E);
ORV_APO_INTERFACE_ID(IPart, AE2DE0E4, 5BCA, 4F2D, AA, 46, 5D, 13, F8, FD, B3, A9);
ORV_APO_INTERFACE_ID(IDeviceTopology, 2A07407E, 6497, 4A18, 97, 87, 32, F7, 9B, D0, D9, 8F);
ORV_APO_INTERFACE_ID(IAudioInputSelector, 4F03DC02, 5E6E, 4653, 8F, 72, A0, 30, C1, 23, D5, 98);
ORV_APO_INTERFACE_ID(IAudioOutputSelector, BB515F69, 94A7, 429E, 8B, 9C, 27, 1B, 3F, 11, A3, AB);
ORV_APO_INTERFACE_ID(IKsControl, 28F54685, 06FD, 11D2, B2, 7A, 00, A0, C9, 22, 31, 96);

#endif
