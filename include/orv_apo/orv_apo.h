// Public interfaces of the audio-effects control component.
//
// Conventions of every operation below, unless its comment has another rule:
// - The result is a status code: S_OK when done; a negative code when not. A null out-parameter, or
//   null for an argument that is needed, gives E_POINTER, unless the call is refused for another
//   argument or the modes are at their end.
// - Out-parameters belong to the caller: texts are freed with SysFreeString, interface pointers are
//   released. Read one after S_OK only: at the end of a list the endpoint enumerator sets it to
//   null, the other enumerators leave it as it was. Arguments stay the caller's, and are read
//   during the call only.
// - What a put stores is in the registry, below the key that RegistryPath of the endpoint names,
//   when the put returns. There are no events: a client that follows changes watches that key.
// - Threads: different objects may be used by different threads at the same time, however they hang
//   together; one object is used by one thread at a time. Intel DSP objects share their driver:
//   their operations wait for one another. On Windows a client follows the rules of its apartment
//   as well.
// - Objects made from one another keep each other alive and may be released in any order, on any
//   thread. Every object, and a class factory that is held or locked, keeps the library loaded.
// - Nothing throws. If memory runs out the status is E_OUTOFMEMORY and nothing was changed, except
//   that Next of the endpoint and mode enumerators moves on anyway, and that a DSP keeps the blocks
//   that it was sent before.
//
// A client creates ORVAPOSystem through its class factory, calls InitializeSystem once, then
// enumerates endpoints. Of the other classes clients create at most KELAPOIntelDSP, which works on
// the default endpoint then. ORVAPOCOMControl, ORVAPOConfigEnumerator, ORVAPOConfigProperty and
// ORVAPOQCDSP can be created too, but an object that no other has handed out has nothing to work
// on: its operations give E_UNEXPECTED; those of ORVAPOQCDSP keep the form factor, and
// WriteControls gives E_NOTIMPL.
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
  ORV_QVT_SCALE_DB = 3,     // the integer is a level in the library's own steps of a decibel
  ORV_QVT_SCALE_CUSTOM = 4,
  ORV_QVT_SCALE_STRING = 5,  // the control holds a text; Value is -1 unless that is a number
  ORV_QVT_SCALE_COUNT = 6,   // number of scales; also the scale of a control without description
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
  // Name to show for the control: the technology library's, without the prefix of an instance, so
  // "Left:X" and "Right:X" have the same. Empty if the library does not describe the control. The
  // exact name, by which GetControlFromName finds it, is in the configuration file only.
  virtual HRESULT STDMETHODCALLTYPE get_DisplayValue(BSTR* display_value) = 0;
  // The unit of Value; ORV_QVT_SCALE_COUNT if the library does not describe the control.
  virtual HRESULT STDMETHODCALLTYPE get_Scale(ORV_QVT_SCALE* scale) = 0;
  // Range of Value, both ends included, in the same unit; 0 and 0 if the library does not describe
  // the control or gives no range.
  virtual HRESULT STDMETHODCALLTYPE get_MinValue(LONG* minimum) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MaxValue(LONG* maximum) = 0;
  // For a control with choices the position of the choice, from 0, otherwise the number, which is 1
  // for "Enabled" and 0 for "Disabled"; -1 for a stored text that is neither. A control with
  // choices that is configured by a number is always read as a number: after put has stored a
  // choice, get answers -1 unless the text of the choice is a number, "Enabled" or "Disabled". get
  // answers what the mode object holds: the public controls as last read or written, or the
  // defaults of all controls after a default list was asked for (IORVOperatingMode). E_FAIL if it
  // does not hold this control. put does not check the range, and stores the whole mode as the mode
  // object last read it: what others have changed since then is overwritten. Ask the mode for a
  // control enumerator first if others write too. E_FAIL if the mode does not hold the control or
  // could not be stored; in the latter case the mode object answers the new value and stores it
  // with the next put, unless a control enumerator is asked for in between and finds that something
  // is stored for the mode. The next put may also store a value whose put gave E_OUTOFMEMORY.
  virtual HRESULT STDMETHODCALLTYPE get_Value(LONG* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Value(LONG value) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOControl, B3A20B6C, 6C6B, 4B41, B4, 0B, 03, 94, 7E, A3, 21, BE);

struct IORVAPOControlEnumerator : IUnknown {
  // The next control in name order; S_FALSE at the end.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVAPOControl** control) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOControlEnumerator, 8B2DE277, FDB6, 4553, BA, AE, 19, F8, 00, E0, 00,
                     4A);

struct IORVAPOControlEnumerator2 : IORVAPOControlEnumerator {
  // The control with exactly this name; orv_apo::kNotFound when there is none. Next is not moved.
  virtual HRESULT STDMETHODCALLTYPE GetControlFromName(BSTR control_name,
                                                       IORVAPOControl** control) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOControlEnumerator2, C62AD0F2, 6035, 42FC, 9C, C4, B9, 1B, 66, CE, CC,
                     5D);

struct IORVOperatingMode : IUnknown {
  // One of the mode's three lists; E_INVALIDARG for an unknown type. The values that the mode's
  // controls answer, those made earlier included, are read anew: from the registry for the public
  // and the private list. For the default list they become the configuration's values of all
  // controls, private ones included, until another list is asked for. A client that shows defaults
  // beside current values uses a second mode object for them.
  virtual HRESULT STDMETHODCALLTYPE
  get_ORVAPOControlEnumerator(ORVAPOControlType type, IORVAPOControlEnumerator** enumerator) = 0;
  // "ApoOpMode:" operating mode "/" speaker type.
  virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
  // Stores the configuration's values for every control of the mode. From then on the private
  // controls of this mode object answer and can be put as well. S_OK also if the values could not
  // be stored; if memory runs out, they may still have been stored.
  virtual HRESULT STDMETHODCALLTYPE RestoreDefaults() = 0;
  // Processing on (1) or off (0) for the whole endpoint, whatever the mode. get answers what was
  // stored when the mode object was made or last put; it does not see changes of others. E_FAIL if
  // the registry key could not be opened then. put stores the number as it is, any but 0 is on;
  // E_FAIL if it could not. When memory runs out after storing, put gives E_OUTOFMEMORY although
  // the number is stored; get then answers the earlier one until the next successful put.
  virtual HRESULT STDMETHODCALLTYPE get_APOEnable(LONG* enabled) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_APOEnable(LONG enabled) = 0;
};
ORV_APO_INTERFACE_ID(IORVOperatingMode, DDFD5708, 307C, 44A8, 82, F7, 4E, E4, 17, CD, 28, D6);

struct IORVAPOOpModeEnumerator : IUnknown {
  // The next mode in configuration order; S_FALSE at the end. There is no way back: ask for a new
  // enumerator.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVOperatingMode** op_mode) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOOpModeEnumerator, 50EB3506, 619C, 431D, B9, A0, 3D, E8, 04, A1, 99, EB);

// A copy of one free-form property of a configuration file. May be used by several threads at the
// same time.
struct IORVAPOConfigProperty : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Key(BSTR* key) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Value(BSTR* value) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOConfigProperty, ADFAB239, 4507, 4C06, BF, 2F, 07, 86, 65, FB, 06, 71);

// The properties as they were when the enumerator was made. May be used by several threads at the
// same time.
struct IORVAPOConfigEnumerator : IUnknown {
  // The next property in key order; S_FALSE at the end.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVAPOConfigProperty** prop) = 0;
  // The property with this key, letter case ignored; E_INVALIDARG when there is none.
  virtual HRESULT STDMETHODCALLTYPE get_ConfigProperty(BSTR key, IORVAPOConfigProperty** prop) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOConfigEnumerator, 46A75EF4, 9067, 4F8F, 8E, 6D, 7D, 2C, 32, 49, 4F, 7A);

struct IAnalysisData : IUnknown {
  // Peaks of the first 8 channels since the last call, in dB; `peaks` has room for 8 numbers. At
  // most 0 (full scale); minus infinity for silence. They change while GetSpectralData runs.
  virtual HRESULT STDMETHODCALLTYPE GetPeaks(FLOAT* peaks) = 0;
  // Analyses what was played since the last call; then the magnitudes in dB of one channel at the
  // given frequencies (Hz); both arrays hold `num_freqs` numbers and may be null if that is 0. A
  // magnitude is that of the nearest band: the bands are sample rate / 1024 apart (46 Hz at 48000)
  // and end below half the sample rate. At most 0; minus infinity for channels from 2 on and when
  // nothing was analysed since the channel's last call. E_INVALIDARG from channel 8 on, E_POINTER
  // for a missing array.
  virtual HRESULT STDMETHODCALLTYPE GetSpectralData(USHORT channel, USHORT num_freqs,
                                                    ULONG* frequencies, FLOAT* magnitude) = 0;
};
ORV_APO_INTERFACE_ID(IAnalysisData, 579E37FC, 4BB7, 4C6E, A5, 51, B1, B5, B8, 41, 5F, 73);

// Sends the public controls of a mode to a Qualcomm DSP.
struct IORVAPOQCDSP : IUnknown {
  // Sends every record but those of the blocks that the mode lacks. S_OK means that the records
  // were handed to the driver, which reports nothing about them: a refusal is not noticed. A
  // failure of the mode is passed on; E_FAIL if it has no public control, E_NOTIMPL without a
  // driver.
  virtual HRESULT STDMETHODCALLTYPE WriteControls(IORVOperatingMode* op_mode) = 0;
  // The device class that is sent with each record: a headset if the endpoint's form factor is
  // headphones, otherwise a speaker (ORV_QUMEDIA_RESERVED if it has none), until put changes it for
  // this object. put: E_INVALIDARG for other values than 0 to 4.
  virtual HRESULT STDMETHODCALLTYPE get_EndpointFormFactor(_ORVQuMediaDeviceType* form_factor) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_EndpointFormFactor(_ORVQuMediaDeviceType form_factor) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOQCDSP, 60C362FB, 3DDD, 4FA3, 9B, E8, 5A, 73, BD, 46, 74, 8C);

// Pushes controls into an Intel DSP: the one on the Broadwell bus if there is one, else the Skylake
// module of the endpoint's device. The driver clients are one of a kind in the process: those of
// the object that was made last serve all objects, and an object that cannot be made leaves the
// others without a Skylake module. `set_default` (0 or not 0) is handed to the driver as the apply
// flag of the requests that an operation makes; only the verification of a mode and the five
// equaliser gains of put_Property carry 0. S_OK does not mean that every block was taken: the
// comment of each operation lists the refusals it reports, a diagnostic line reports the others. Of
// a Skylake module, a block for which memory runs out is one that cannot be computed.
struct IKELAPOIntelDSP : IUnknown {
  // The driver's interface version and feature bits. E_FAIL if it does not answer.
  virtual HRESULT STDMETHODCALLTYPE GetAPIVersion(BYTE* ver, BYTE* features) = 0;
  // Name and version of the processing module. The driver's own status if it does not answer.
  virtual HRESULT STDMETHODCALLTYPE GetModuleInfo(BSTR* name, BSTR* ver) = 0;
  // Sends the default mode of a configuration file (full path), public and private controls, from
  // its modes for the DSP. E_FAIL if the file does not load or has none, else as WriteControls; the
  // reason of orv_apo::kAborted is in `error_string` (null after any other status), which is the
  // caller's to free. Null instead of its address is allowed.
  virtual HRESULT STDMETHODCALLTYPE ProcessConfigFile(BSTR filename, BSTR* error_string,
                                                      LONG set_default) = 0;
  // Sends the public controls of a mode, any implementation's; a mode without any gives S_OK.
  // `tech_name` "HPF", "PEQLEFT", "PEQRIGHT" or "PEQALL" sends those filters only (a Skylake module
  // takes all of them together); null and any other text send everything.
  // A failure of the mode is passed on. Skylake: a block that cannot be computed or is refused does
  // not stop the others; E_FAIL if the module's twelve blocks of controls do not hold the computed
  // values afterwards. Filters, other coefficients and the module status are not compared; filters
  // that are sent alone give their own status. Broadwell: orv_apo::kAborted if a control does not
  // convert or the driver refuses a block; the rest is not sent. For the equaliser, and in a
  // configuration file for the high-pass, there is only a diagnostic line. S_OK, and nothing is
  // sent, if put_dspDeviceId has failed before.
  virtual HRESULT STDMETHODCALLTYPE WriteControls(IORVOperatingMode* op_mode, BSTR tech_name,
                                                  LONG set_default) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP, 18B291C1, BE52, 4D5F, 9B, 06, 6D, 68, 46, 80, 70, B7);

struct IKELAPOIntelDSP2 : IKELAPOIntelDSP {
  // Switches processing in the DSP on (not 0) or off (0); nothing is stored. E_FAIL if the last
  // request was refused: the one parameter of a Broadwell DSP, the status of a Skylake module.
  virtual HRESULT STDMETHODCALLTYPE put_APOEnable(LONG val, LONG set_default) = 0;
  // One control of the DSP by its exact name. A Broadwell DSP reads some of its controls, a Skylake
  // module only "VQ3D-Process Enable" (VT_I4, 0 or 1; 0 also if the module does not answer);
  // E_NOTIMPL for others, E_FAIL if a Broadwell DSP refuses. `value` is initialised first; the
  // caller clears it.
  virtual HRESULT STDMETHODCALLTYPE get_Property(BSTR prop_name, LONG set_default,
                                                 VARIANT* value) = 0;
  // Changes one control and what depends on it, in the DSP only: nothing is stored. `value` is
  // VT_I4 or VT_I8 (whose lower half counts), for choices of a Skylake module also VT_BSTR;
  // E_INVALIDARG for other types. Controls that depend on others need a mode to be written first.
  // Skylake: the driver's status if it refuses (of "VQ3D-Process Enable" only if it refuses to
  // read), E_FAIL if the value or one that it depends on does not convert or leaves its range,
  // E_INVALIDARG for unknown names. Broadwell: S_OK in all these cases, with a diagnostic line.
  // E_FAIL if put_dspDeviceId has failed before.
  virtual HRESULT STDMETHODCALLTYPE put_Property(BSTR prop_name, LONG set_default,
                                                 VARIANT value) = 0;
  // Equaliser of a Broadwell DSP: one band for each element, all three arrays of the same length;
  // gains in dB (VT_R4), quality factors above 0 (VT_R4), frequencies in Hz above 0 (VT_I4). The
  // first band is a low shelf, the last one a high shelf. kKELAPO_Left is the left channel, any
  // other member the right one. E_INVALIDARG for arrays that are not such or whose filters cannot
  // be designed, E_FAIL if the driver refuses or there is no Broadwell DSP.
  virtual HRESULT STDMETHODCALLTYPE SetPEQ(KELChannel channel, SAFEARRAY* gains_in_db, SAFEARRAY* q,
                                           SAFEARRAY* freq, LONG set_default) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP2, A06A7630, CC48, 4368, 96, 3D, 12, 1F, B3, 7C, 27, F8);

struct IKELAPOIntelDSP3 : IKELAPOIntelDSP2 {
  // Works on the Skylake module of another device (its endpoint identifier) from now on; does
  // nothing while there is a Broadwell DSP. E_FAIL if the device has no such module.
  virtual HRESULT STDMETHODCALLTYPE put_dspDeviceId(LPWSTR device_id) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP3, C0A89B83, 0BA3, 410B, 93, 0E, 88, 8E, 57, C7, 23, AC);

struct IKELAPOIntelDSP4 : IKELAPOIntelDSP3 {
  // Version of this component, "3.5.3.1".
  virtual HRESULT STDMETHODCALLTYPE get_ApoVersion(BSTR* version) = 0;
};
ORV_APO_INTERFACE_ID(IKELAPOIntelDSP4, 64F755DA, F559, 4676, 9B, E7, 17, D9, 47, 2D, 25, 55);

struct IORVEndpointInfo : IUnknown {
  // Name to show for the endpoint; empty if it has none.
  virtual HRESULT STDMETHODCALLTYPE get_FriendlyName(BSTR* friendly_name) = 0;
  // Full path of the endpoint's configuration file.
  virtual HRESULT STDMETHODCALLTYPE get_ConfigFile(BSTR* config_file) = 0;
  // Key of the processing object's values, relative to HKEY_LOCAL_MACHINE (64-bit view). The
  // endpoint object has created it, if it was allowed to.
  virtual HRESULT STDMETHODCALLTYPE get_RegistryPath(BSTR* reg_path) = 0;
  // The configuration's modes as they are now, also after a later SetConfig.
  virtual HRESULT STDMETHODCALLTYPE GetOpModeEnumerator(IORVAPOOpModeEnumerator** e) = 0;
  // Stores the configuration's default mode as the current one. S_OK also if it could not be
  // stored.
  virtual HRESULT STDMETHODCALLTYPE SetDefault() = 0;
  // Stores the mode as the current one, by its name: one of another endpoint is not refused. Only
  // modes made by this component; E_FAIL for others and when the mode could not be stored.
  virtual HRESULT STDMETHODCALLTYPE put_OpMode(IORVOperatingMode* mode) = 0;
  // The current mode, read afresh; the default mode if none is stored. orv_apo::kNotFound if the
  // configuration has no such mode, the status of its creation if the mode object cannot be made.
  virtual HRESULT STDMETHODCALLTYPE get_OpMode(IORVOperatingMode** mode) = 0;
  // The configuration type that was asked for last; SetConfig reloads with another (E_INVALIDARG
  // above 1). E_FAIL if it cannot be loaded: until the next successful SetConfig the endpoint then
  // has no modes, or only those that could be read, and keeps its current and its default mode.
  virtual HRESULT STDMETHODCALLTYPE GetConfig(ORVAPOEndpointConfig* config) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetConfig(ORVAPOEndpointConfig config) = 0;
  // A new Qualcomm DSP object for this endpoint; E_NOTIMPL without a driver.
  virtual HRESULT STDMETHODCALLTYPE GetQCDSPInterface(IORVAPOQCDSP** qc_dsp) = 0;
  // The configuration's properties as they are now.
  virtual HRESULT STDMETHODCALLTYPE get_config_enum(IORVAPOConfigEnumerator** enumerator) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo, 98D10BCE, ADF3, 44BF, A1, BF, 1B, 69, 98, B5, F1, 3A);

struct IORVEndpointInfo2 : IORVEndpointInfo {
  // A new analysis object, which listens to the endpoint from now on; the audio service's status if
  // it cannot.
  virtual HRESULT STDMETHODCALLTYPE get_AnalysisData(IAnalysisData** analysis_data) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo2, A329A711, 43CC, 4380, B8, F8, 35, 98, 1A, CB, 7A, C2);

struct IORVEndpointInfo3 : IORVEndpointInfo2 {
  // kKELAPO_EPProp_Type: 0, because all endpoints are render endpoints. E_INVALIDARG for any other
  // property.
  virtual HRESULT STDMETHODCALLTYPE get_EndpointProp(KELAPOEndpointProperty prop, ULONG* value) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo3, 78B9D9DA, 6F1B, 4289, B3, 6D, 54, DF, D6, 42, 74, 02);

struct IORVEndpointInfo4 : IORVEndpointInfo3 {
  // 1 or 0 with S_OK, read afresh; S_FALSE when no codec vendor's state could decide (the value
  // then means nothing).
  virtual HRESULT STDMETHODCALLTYPE get_HeadsetConnected(LONG* connected) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo4, EAAA0127, 10D7, 4A4C, A6, B6, 89, 39, 8F, 83, 50, 17);

struct IORVEndpointInfo5 : IORVEndpointInfo4 {
  // A new Intel DSP object for this endpoint; E_FAIL if it has no such DSP.
  virtual HRESULT STDMETHODCALLTYPE GetIntelInterface(IKELAPOIntelDSP** intel_dsp) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointInfo5, 84ADF59C, EBA7, 4D50, B1, DE, 61, 0D, 91, EC, D5, 60);

struct IORVEndpointEnumerator : IUnknown {
  // The next endpoint of the snapshot taken when the enumerator was made; S_FALSE at the end. An
  // endpoint that cannot be opened gives E_FAIL and is passed over by the following call.
  virtual HRESULT STDMETHODCALLTYPE Next(IORVEndpointInfo** device) = 0;
  // Next starts again at the first endpoint of the same snapshot.
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  // The endpoint with this device identifier, letter case ignored; E_INVALIDARG when the snapshot
  // has none, E_FAIL if it cannot be opened. Next is not moved.
  virtual HRESULT STDMETHODCALLTYPE GetEndpointFromDevice(BSTR device_id,
                                                          IORVEndpointInfo** device) = 0;
};
ORV_APO_INTERFACE_ID(IORVEndpointEnumerator, 4164DCD3, 8F64, 43B2, B5, 64, A4, F7, D1, EC, DC, 98);

struct IORVAPOSystem : IUnknown {
  // A fresh scan of the machine's active render endpoints; those whose configuration file does not
  // load are left out. orv_apo::kNotInitialized before InitializeSystem.
  virtual HRESULT STDMETHODCALLTYPE EnumerateORVEndpoints(IORVEndpointEnumerator** ep_enum) = 0;
  // Folder of the technology library, absolute; null or empty means the component's own folder. A
  // missing library is not a failure: controls then have no names, ranges and choices. A second
  // call changes nothing and answers orv_apo::kAlreadyInitialized.
  virtual HRESULT STDMETHODCALLTYPE InitializeSystem(BSTR apo_path) = 0;
};
ORV_APO_INTERFACE_ID(IORVAPOSystem, BC639F8B, 1C5D, 4DCC, BB, 7F, 93, ED, C4, FF, 3C, BA);

// In the type library only; no class implements it.
struct IUpdateRegistrySettings : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Save() = 0;
  virtual HRESULT STDMETHODCALLTYPE Load() = 0;
};
ORV_APO_INTERFACE_ID(IUpdateRegistrySettings, 7371A5CF, D48D, 42A4, 8D, 97, BB, 92, 18, 7A, CF, C8);

// Stores several values of a mode with one write, all or none. Every mode object of this component
// has it; IORVOperatingMode of an earlier one answers E_NOINTERFACE. Threads: as IORVOperatingMode;
// other threads may put values of the mode's controls meanwhile, and their values are collected
// too.
//
// While an update is open, put_Value of the mode's controls collects (E_FAIL, and nothing is
// collected, if the mode does not hold the control; the range is not checked), get_Value answers
// the public values as BeginUpdate read them with what was collected since, and a control
// enumerator does not read anew. RestoreDefaults and put_APOEnable are not part of an update: they
// store at once. When the mode object goes, with the last of its controls, the update is dropped.
struct IORVValueUpdate : IUnknown {
  // Reads the stored public values and opens an update. E_UNEXPECTED if one is open, which stays
  // open; E_FAIL if the registry key of the endpoint cannot be opened.
  virtual HRESULT STDMETHODCALLTYPE BeginUpdate() = 0;
  // Reads what is stored again, so that what others have changed meanwhile stays, and stores it
  // with the collected values; without any nothing is written. The update is over, whatever the
  // status. E_FAIL if the write was refused: what is stored is as it was, and the mode object
  // answers what it answered before BeginUpdate. E_UNEXPECTED if no update is open.
  virtual HRESULT STDMETHODCALLTYPE CommitUpdate() = 0;
  // Drops what was collected; the mode object answers what it answered before BeginUpdate.
  // E_UNEXPECTED if no update is open.
  virtual HRESULT STDMETHODCALLTYPE CancelUpdate() = 0;
};
ORV_APO_INTERFACE_ID(IORVValueUpdate, A9B36F3A, DB2E, 453E, 91, 1D, 14, C7, 06, 68, 68, 5A);

// ---- exports of the component, to be found by name in the loaded library. The COM runtime and the
// registration tool call them; natively clients call the first two themselves.
//
// DllGetClassObject: CLASS_E_CLASSNOTAVAILABLE for a class that clients do not create,
// E_NOINTERFACE for a factory's other interfaces, E_UNEXPECTED if there is no machine to work on.
// DllCanUnloadNow: S_OK if no object, held factory or factory lock is left, otherwise S_FALSE.
// DllRegisterServer, DllUnregisterServer: for the machine; DllInstall: with "user" (in any letter
// case) for the current user; what a failed installation has written is removed again. Their
// failures are the system's own.

extern "C" {
using ORVDllGetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID clsid, REFIID iid, void** object);
using ORVDllCanUnloadNow = HRESULT(STDAPICALLTYPE*)();
using ORVDllRegisterServer = HRESULT(STDAPICALLTYPE*)();
using ORVDllUnregisterServer = HRESULT(STDAPICALLTYPE*)();
using ORVDllInstall = HRESULT(STDAPICALLTYPE*)(BOOL install, LPCWSTR command_line);
}
