// Public interfaces of the audio-effects control component.
//
// Conventions, valid for every operation below unless it says otherwise:
// - The result is a status code: S_OK when done; a negative code when not. A null out-parameter
// gives E_POINTER.
// - Out-parameters belong to the caller: texts are freed with SysFreeString, interface pointers are
// released.
// - Objects are single-threaded: one object is used by one thread at a time. Objects made from one
// another
//   keep each other alive and may be released in any order.
// - Nothing throws. When memory runs out the status is E_OUTOFMEMORY and nothing was changed.
//
// A client creates ORVAPOSystem through its class factory, calls InitializeSystem once, then
// enumerates endpoints.
#pragma once

#include "orv_apo/com.h"

// ---- enumerations

enum ORVAPOControlType : LONG {
  kORVAPO_Cont_Public = 0,   // values that clients change, kept per mode in the registry
  kORVAPO_Cont_Private = 1,  // values that only the configuration file sets
  kORVAPO_Cont_Default = 2,  // the configuration's values of both
  kORVAPO_Cont_NumControls = 3,
};

enum ORV_QVT_SCALE : LONG {
  ORV_QVT_SCALE_NONE = 0,
  ORV_QVT_SCALE_ENUM = 1,   // the integer is a position in the control's list of choices
  ORV_QVT_SCALE_BY100 = 2,  // the integer is hundredths of the quantity
  ORV_QVT_SCALE_DB = 3,     // the integer is a level in decibel steps
  ORV_QVT_SCALE_CUSTOM = 4,
  ORV_QVT_SCALE_STRING = 5,
  ORV_QVT_SCALE_COUNT = 6,  // number of scales; also the scale of a control nobody describes
};

enum ORVAPOEndpointConfig : LONG {
  kORVAPO_EPCfg_None = 0,  // modes without a selector
  kORVAPO_EPCfg_DSP = 1,   // modes whose selector is "dsp"
  kORVAPO_EPCfg_Count = 2,
};

enum KELAPOEndpointProperty : LONG {
  kKELAPO_EPProp_Type = 0,  // data flow: 0 render, 1 capture
  kKELAPO_EPProp_Count = 1,
};

// The leading underscore is the type library's own.
enum _ORVQuMediaDeviceType : LONG {  // NOLINT(bugprone-reserved-identifier)
  ORV_QUMEDIA_RESERVED = 0,
  ORV_QUMEDIA_SPEAKER = 1,
  ORV_QUMEDIA_HEADSET = 2,
  ORV_QUMEDIA_HDMI = 3,
  ORV_QUMEDIA_BLUETOOTH = 4,
  ORV_QUMEDIA_DEVICE_COUNT = 5,
};

enum KELChannel : LONG {
  kKELAPO_Left = 0,
  kKELAPO_Right = 1,
  kKELAPO_ChannelCount = 2,
};

// ---- class identifiers

#define ORV_APO_CLASS_ID(Class, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
  inline constexpr CLSID CLSID_##Class = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}

ORV_APO_CLASS_ID(ORVAPOSystem, 0x34296A83, 0xD4A8, 0x442A, 0xA7, 0xF8, 0xC8, 0x74, 0xE6, 0xB9, 0x19,
                 0x7D);
ORV_APO_CLASS_ID(ORVEndpointEnumerator, 0xFA99BB15, 0x2E36, 0x4590, 0xB7, 0x01, 0xFC, 0x0D, 0xE6,
                 0x27, 0x08, 0xD6);
ORV_APO_CLASS_ID(ORVCOMEndpointInfo, 0x355034C9, 0x019D, 0x4595, 0x9E, 0xBB, 0x54, 0xAD, 0x0D, 0xB2,
                 0xC5, 0x20);
ORV_APO_CLASS_ID(ORVOperatingMode, 0xD6AB400A, 0x273A, 0x4920, 0x9F, 0x1F, 0x05, 0x7A, 0xED, 0x3A,
                 0x60, 0x0A);
ORV_APO_CLASS_ID(ORVAPOControlEnumerator, 0x27E280EC, 0xAA04, 0x4390, 0xA4, 0xE6, 0xEE, 0xED, 0x60,
                 0x73, 0xCB, 0x29);
ORV_APO_CLASS_ID(ORVAPOCOMControl, 0xDF85A2B5, 0xAD5D, 0x45A6, 0xB7, 0xA2, 0xC2, 0x6A, 0x2A, 0x48,
                 0x97, 0x9D);
ORV_APO_CLASS_ID(ORVAPOOpModeEnumerator, 0xDB8F1BEB, 0x0D1F, 0x46F6, 0xB7, 0x56, 0x72, 0x5D, 0x6D,
                 0x5A, 0x2F, 0x46);
ORV_APO_CLASS_ID(ORVAPOQCDSP, 0xBD3D375E, 0x6206, 0x42DB, 0xA4, 0x8A, 0xCA, 0x5F, 0x8B, 0x10, 0xA7,
                 0x33);
ORV_APO_CLASS_ID(ORVAPOConfigEnumerator, 0x25D3D1C0, 0xA064, 0x4726, 0xB3, 0x63, 0xB9, 0xB8, 0xE0,
                 0xF3, 0xBB, 0x04);
ORV_APO_CLASS_ID(ORVAPOConfigProperty, 0xFFBCBB93, 0x0ADD, 0x4DF2, 0x98, 0x58, 0xBB, 0x87, 0x0E,
                 0x90, 0x15, 0x5C);
ORV_APO_CLASS_ID(AnalysisData, 0x0759AAFD, 0x88EE, 0x4EA5, 0xA9, 0xFA, 0xF1, 0xF0, 0x77, 0x62, 0xA4,
                 0x6E);
ORV_APO_CLASS_ID(KELAPOIntelDSP, 0x7E7EE6E8, 0x1B69, 0x4D94, 0xBB, 0x5B, 0x97, 0x76, 0x95, 0x4A,
                 0xDB, 0x25);
ORV_APO_CLASS_ID(RegistrySettings, 0x8CBB2E93, 0xCFCB, 0x43F8, 0x84, 0x81, 0x21, 0x0F, 0x2B, 0x63,
                 0x53, 0xC5);

// The component's type library (version 1.4).
inline constexpr GUID LIBID_ORV_APO2011_ControllerLib = {
    0x36E9715E, 0x24E6, 0x46DD, {0xA3, 0xE7, 0x5A, 0xE1, 0x35, 0x5A, 0xB4, 0x02}};

// ---- interfaces, leaves first

struct IORVAPOControl : IUnknown {
  // Name to show for the control; empty when nobody describes it.
  virtual HRESULT STDMETHODCALLTYPE get_DisplayValue(BSTR* display_value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Scale(ORV_QVT_SCALE* scale) = 0;
  // Range of Value in the control's own steps; 0 and 0 when nobody describes it.
  virtual HRESULT STDMETHODCALLTYPE get_MinValue(LONG* minimum) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MaxValue(LONG* maximum) = 0;
  // For a control with choices the position of the choice, else the number. E_FAIL when the mode
  // does not hold the control (private and default controls) or, for put, when it could not be
  // stored.
  virtual HRESULT STDMETHODCALLTYPE get_Value(LONG* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Value(LONG value) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOControl, 0xB3A20B6C, 0x6C6B, 0x4B41, 0xB4, 0x0B, 0x03, 0x94, 0x7E, 0xA3,
                     0x21, 0xBE);

struct IORVAPOControlEnumerator : IUnknown {
  // The next control in name order; S_FALSE at the end.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVAPOControl** control) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOControlEnumerator, 0x8B2DE277, 0xFDB6, 0x4553, 0xBA, 0xAE, 0x19, 0xF8,
                     0x00, 0xE0, 0x00, 0x4A);

struct IORVAPOControlEnumerator2 : IORVAPOControlEnumerator {
  // The control with exactly this name; orv_apo::kNotFound when there is none. Next is not moved.
  virtual HRESULT STDMETHODCALLTYPE GetControlFromName(BSTR control_name,
                                                       IORVAPOControl** control) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOControlEnumerator2, 0xC62AD0F2, 0x6035, 0x42FC, 0x9C, 0xC4, 0xB9, 0x1B,
                     0x66, 0xCE, 0xCC, 0x5D);

struct IORVOperatingMode : IUnknown {
  // One of the mode's three lists, refreshed from the registry; E_INVALIDARG for an unknown type.
  virtual HRESULT STDMETHODCALLTYPE
  get_ORVAPOControlEnumerator(ORVAPOControlType type, IORVAPOControlEnumerator** enumerator) = 0;
  // "ApoOpMode:" operating mode "/" speaker type.
  virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
  // Stores the configuration's values for every control of the mode. S_OK also when they could not
  // be stored; when memory runs out, they may have been stored all the same.
  virtual HRESULT STDMETHODCALLTYPE RestoreDefaults() = 0;
  // Processing on (1) or off (0) for the whole endpoint. put stores the number as it is; E_FAIL
  // when it could not. When memory runs out after storing, put gives E_OUTOFMEMORY although the
  // number is stored; get then tells the earlier one until the next successful put.
  virtual HRESULT STDMETHODCALLTYPE get_APOEnable(LONG* enabled) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_APOEnable(LONG enabled) = 0;
};
ORV_APO_INTERFACE_ID(IORVOperatingMode, 0xDDFD5708, 0x307C, 0x44A8, 0x82, 0xF7, 0x4E, 0xE4, 0x17,
                     0xCD, 0x28, 0xD6);

struct IORVAPOOpModeEnumerator : IUnknown {
  // The next mode in configuration order; S_FALSE at the end. There is no way back: ask for a new
  // enumerator.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVOperatingMode** op_mode) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOOpModeEnumerator, 0x50EB3506, 0x619C, 0x431D, 0xB9, 0xA0, 0x3D, 0xE8,
                     0x04, 0xA1, 0x99, 0xEB);

struct IORVAPOConfigProperty : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Key(BSTR* key) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Value(BSTR* value) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOConfigProperty, 0xADFAB239, 0x4507, 0x4C06, 0xBF, 0x2F, 0x07, 0x86,
                     0x65, 0xFB, 0x06, 0x71);

// May be used from any thread; concurrent Next calls on one enumerator are the caller's to
// serialise.
struct IORVAPOConfigEnumerator : IUnknown {
  // The next property in key order; S_FALSE at the end.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVAPOConfigProperty** prop) = 0;
  // The property with this key, letter case ignored; E_INVALIDARG when there is none.
  virtual HRESULT STDMETHODCALLTYPE get_ConfigProperty(BSTR key, IORVAPOConfigProperty** prop) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOConfigEnumerator, 0x46A75EF4, 0x9067, 0x4F8F, 0x8E, 0x6D, 0x7D, 0x2C,
                     0x32, 0x49, 0x4F, 0x7A);

struct IAnalysisData : IUnknown {
  // Peaks of the first 8 channels since the last call, in dB; `peaks` has room for 8 numbers. At
  // most 0 (full scale); minus infinity for silence. They change while GetSpectralData runs.
  virtual HRESULT STDMETHODCALLTYPE GetPeaks(FLOAT* peaks) = 0;
  // Analyses what was heard since the last call; then the magnitudes in dB of one channel at the
  // given frequencies (Hz); both arrays hold `num_freqs` numbers. At most 0; minus infinity for
  // channels from 2 on and when nothing was analysed since the channel's last call. E_INVALIDARG
  // from channel 8 on, E_POINTER for a missing array.
  virtual HRESULT STDMETHODCALLTYPE GetSpectralData(USHORT channel, USHORT num_freqs,
                                                    ULONG* frequencies, FLOAT* magnitude) = 0;
};
ORV_APO_INTERFACE_ID(IAnalysisData, 0x579E37FC, 0x4BB7, 0x4C6E, 0xA5, 0x51, 0xB1, 0xB5, 0xB8, 0x41,
                     0x5F, 0x73);

struct IORVAPOQCDSP : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE WriteControls(IORVOperatingMode* op_mode) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_EndpointFormFactor(_ORVQuMediaDeviceType* form_factor) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_EndpointFormFactor(_ORVQuMediaDeviceType form_factor) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOQCDSP, 0x60C362FB, 0x3DDD, 0x4FA3, 0x9B, 0xE8, 0x5A, 0x73, 0xBD, 0x46,
                     0x74, 0x8C);

struct IKELAPOIntelDSP : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetAPIVersion(BYTE* ver, BYTE* features) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetModuleInfo(BSTR* name, BSTR* ver) = 0;
  virtual HRESULT STDMETHODCALLTYPE ProcessConfigFile(BSTR filename, BSTR* error_string,
                                                      LONG set_default) = 0;
  virtual HRESULT STDMETHODCALLTYPE WriteControls(IORVOperatingMode* op_mode, BSTR tech_name,
                                                  LONG set_default) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP, 0x18B291C1, 0xBE52, 0x4D5F, 0x9B, 0x06, 0x6D, 0x68, 0x46,
                     0x80, 0x70, 0xB7);

struct IKELAPOIntelDSP2 : IKELAPOIntelDSP {
  virtual HRESULT STDMETHODCALLTYPE put_APOEnable(LONG val, LONG set_default) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Property(BSTR prop_name, LONG set_default,
                                                 VARIANT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Property(BSTR prop_name, LONG set_default,
                                                 VARIANT value) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetPEQ(KELChannel channel, SAFEARRAY* gains_in_db, SAFEARRAY* q,
                                           SAFEARRAY* freq, LONG set_default) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP2, 0xA06A7630, 0xCC48, 0x4368, 0x96, 0x3D, 0x12, 0x1F, 0xB3,
                     0x7C, 0x27, 0xF8);

struct IKELAPOIntelDSP3 : IKELAPOIntelDSP2 {
  virtual HRESULT STDMETHODCALLTYPE put_dspDeviceId(LPWSTR device_id) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP3, 0xC0A89B83, 0x0BA3, 0x410B, 0x93, 0x0E, 0x88, 0x8E, 0x57,
                     0xC7, 0x23, 0xAC);

struct IKELAPOIntelDSP4 : IKELAPOIntelDSP3 {
  virtual HRESULT STDMETHODCALLTYPE get_ApoVersion(BSTR* version) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP4, 0x64F755DA, 0xF559, 0x4676, 0x9B, 0xE7, 0x17, 0xD9, 0x47,
                     0x2D, 0x25, 0x55);

struct IORVEndpointInfo : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_FriendlyName(BSTR* friendly_name) = 0;
  // Full path of the endpoint's configuration file.
  virtual HRESULT STDMETHODCALLTYPE get_ConfigFile(BSTR* config_file) = 0;
  // Key of the processing object's values, relative to HKEY_LOCAL_MACHINE (64-bit view).
  virtual HRESULT STDMETHODCALLTYPE get_RegistryPath(BSTR* reg_path) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetOpModeEnumerator(IORVAPOOpModeEnumerator** e) = 0;
  // Stores the configuration's default mode as the current one. Always S_OK.
  virtual HRESULT STDMETHODCALLTYPE SetDefault() = 0;
  // Only modes made by this component; E_FAIL for others and when the mode could not be stored.
  virtual HRESULT STDMETHODCALLTYPE put_OpMode(IORVOperatingMode* mode) = 0;
  // The current mode, read afresh; orv_apo::kNotFound when the stored one is none of the
  // configuration's.
  virtual HRESULT STDMETHODCALLTYPE get_OpMode(IORVOperatingMode** mode) = 0;
  // The configuration type in force; SetConfig reloads with another (E_INVALIDARG above 1, E_FAIL
  // when it cannot be loaded).
  virtual HRESULT STDMETHODCALLTYPE GetConfig(ORVAPOEndpointConfig* config) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetConfig(ORVAPOEndpointConfig config) = 0;
  // A new DSP object for this endpoint; its creation status (E_NOTIMPL without a driver) otherwise.
  virtual HRESULT STDMETHODCALLTYPE GetQCDSPInterface(IORVAPOQCDSP** qc_dsp) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_config_enum(IORVAPOConfigEnumerator** enumerator) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo, 0x98D10BCE, 0xADF3, 0x44BF, 0xA1, 0xBF, 0x1B, 0x69, 0x98,
                     0xB5, 0xF1, 0x3A);

struct IORVEndpointInfo2 : IORVEndpointInfo {
  virtual HRESULT STDMETHODCALLTYPE get_AnalysisData(IAnalysisData** analysis_data) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo2, 0xA329A711, 0x43CC, 0x4380, 0xB8, 0xF8, 0x35, 0x98, 0x1A,
                     0xCB, 0x7A, 0xC2);

struct IORVEndpointInfo3 : IORVEndpointInfo2 {
  // E_INVALIDARG for any property but kKELAPO_EPProp_Type.
  virtual HRESULT STDMETHODCALLTYPE get_EndpointProp(KELAPOEndpointProperty prop, ULONG* value) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo3, 0x78B9D9DA, 0x6F1B, 0x4289, 0xB3, 0x6D, 0x54, 0xDF, 0xD6,
                     0x42, 0x74, 0x02);

struct IORVEndpointInfo4 : IORVEndpointInfo3 {
  // 1 or 0 with S_OK; S_FALSE when no codec vendor's state could decide (the value then means
  // nothing).
  virtual HRESULT STDMETHODCALLTYPE get_HeadsetConnected(LONG* connected) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo4, 0xEAAA0127, 0x10D7, 0x4A4C, 0xA6, 0xB6, 0x89, 0x39, 0x8F,
                     0x83, 0x50, 0x17);

struct IORVEndpointInfo5 : IORVEndpointInfo4 {
  virtual HRESULT STDMETHODCALLTYPE GetIntelInterface(IKELAPOIntelDSP** intel_dsp) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo5, 0x84ADF59C, 0xEBA7, 0x4D50, 0xB1, 0xDE, 0x61, 0x0D, 0x91,
                     0xEC, 0xD5, 0x60);

struct IORVEndpointEnumerator : IUnknown {
  // The next endpoint of the snapshot taken when the enumerator was made; S_FALSE at the end. An
  // endpoint that cannot be opened gives E_FAIL and is passed over by the following call.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVEndpointInfo** device) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  // The endpoint with this device identifier, letter case ignored; E_INVALIDARG when the snapshot
  // has none.
  virtual HRESULT STDMETHODCALLTYPE GetEndpointFromDevice(BSTR device_id,
                                                          IORVEndpointInfo** device) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointEnumerator, 0x4164DCD3, 0x8F64, 0x43B2, 0xB5, 0x64, 0xA4, 0xF7,
                     0xD1, 0xEC, 0xDC, 0x98);

struct IORVAPOSystem : IUnknown {
  // A fresh scan of the machine's active render endpoints; orv_apo::kNotInitialized before
  // InitializeSystem.
  virtual HRESULT STDMETHODCALLTYPE EnumerateORVEndpoints(IORVEndpointEnumerator** ep_enum) = 0;
  // Folder of the technology library; null or empty means the component's own folder. A second call
  // changes nothing and answers orv_apo::kAlreadyInitialized.
  virtual HRESULT STDMETHODCALLTYPE InitializeSystem(BSTR apo_path) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOSystem, 0xBC639F8B, 0x1C5D, 0x4DCC, 0xBB, 0x7F, 0x93, 0xED, 0xC4, 0xFF,
                     0x3C, 0xBA);

// In the type library only; no class implements it.
struct IUpdateRegistrySettings : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Save() = 0;
  virtual HRESULT STDMETHODCALLTYPE Load() = 0;
};
ORV_APO_INTERFACE_ID(IUpdateRegistrySettings, 0x7371A5CF, 0xD48D, 0x42A4, 0x8D, 0x97, 0xBB, 0x92,
                     0x18, 0x7A, 0xCF, 0xC8);

// ---- exports of the component, to be found by name in the loaded library

extern "C" {
using ORVDllGetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID clsid, REFIID iid, void** object);
using ORVDllCanUnloadNow = HRESULT(STDAPICALLTYPE*)();
using ORVDllRegisterServer = HRESULT(STDAPICALLTYPE*)();
using ORVDllUnregisterServer = HRESULT(STDAPICALLTYPE*)();
using ORVDllInstall = HRESULT(STDAPICALLTYPE*)(BOOL install, LPCWSTR command_line);
}
