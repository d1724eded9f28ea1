// Where an endpoint's values are in the registry. All paths are relative to HKEY_LOCAL_MACHINE, in
// the 64-bit view.
#pragma once

#include <cstdint>
#include <string>

#include "platform/registry.h"

namespace orv {

inline constexpr wchar_t kRenderEndpointsKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio\\Render\\";
inline constexpr wchar_t kCaptureEndpointsKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio\\Capture\\";
inline constexpr wchar_t kPropertiesSubkey[] = L"\\Properties";
inline constexpr wchar_t kEffectPropertiesSubkey[] = L"\\FxProperties";

// A key of an endpoint: its flow's branch, its GUID text, one of the two sub-keys.
inline std::wstring EndpointKeyPath(bool is_render, const std::wstring& guid_text,
                                    const wchar_t* subkey) {
  return (is_render ? kRenderEndpointsKey : kCaptureEndpointsKey) + guid_text + subkey;
}

// Properties key: this system's own settings of the endpoint, any kind, taken as text.
inline constexpr wchar_t kApoKeyPathValue[] = L"{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},0";
inline constexpr wchar_t kDataFolderValue[] = L"{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},1";
inline constexpr wchar_t kConfigFileValue[] = L"{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},2";
inline constexpr wchar_t kSetting3Value[] = L"{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},3";
inline constexpr wchar_t kSetting4Value[] = L"{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},4";
inline constexpr wchar_t kFallbackKeyPathValue[] = L"{1028ECF3-0EB3-440C-9B9B-C2A7B8303FCA},5";

// Properties key: the platform's own.
inline constexpr wchar_t kHardwareIdentifierValue[] = L"{b3f8fa53-0004-438e-9003-51a46e139bfc},2";
inline constexpr wchar_t kDeviceNameValue[] = L"{b3f8fa53-0004-438e-9003-51a46e139bfc},6";
inline constexpr wchar_t kHeadsetBlockValue[] = L"{b3f8fa53-0004-438e-9003-51a46e139bfc},27";
inline constexpr wchar_t kEndpointDescriptionValue[] = L"{a45c254e-df1c-4efd-8020-67d146a850e0},2";

// Effect key: text "1" disables system effects; class identifiers of the registered effects.
inline constexpr wchar_t kSystemEffectsValue[] = L"{1da5d803-d492-4edd-8c23-e0c0ffee7f0e},5";
inline constexpr wchar_t kPremixEffectValue[] = L"{d04e05a6-594b-4fb6-a80d-01af5eed7d1d},1";
inline constexpr wchar_t kStreamEffectValue[] = L"{d04e05a6-594b-4fb6-a80d-01af5eed7d1d},5";
inline constexpr wchar_t kModeEffectValue[] = L"{d04e05a6-594b-4fb6-a80d-01af5eed7d1d},6";
inline constexpr wchar_t kEndpointEffectValue[] = L"{d04e05a6-594b-4fb6-a80d-01af5eed7d1d},7";

// Headset state that codec drivers store, each a REG_DWORD: two values of the effect key,
// one of a key of its own.
inline constexpr wchar_t kRealtekFirstValue[] = L"{3BA0CD54-830F-4551-A6EB-F3EAB68E3700},1";
inline constexpr wchar_t kRealtekSecondValue[] = L"{3BA0CD54-830F-4551-A6EB-F3EAB68E3700},4";
inline constexpr wchar_t kIdtStateKey[] = L"Software\\IDT\\State";
inline constexpr wchar_t kIdtHeadsetValue[] = L"HP";

// The processing object's key of an endpoint: by default this one, a backslash and the GUID text.
inline constexpr wchar_t kDefaultApoKey[] = L"Software\\ORV Labs\\APO";
inline constexpr wchar_t kTechnologyPathValue[] = L"OrvApoTechDllPath";
inline constexpr wchar_t kGlobalSettingsValue[] = L"OrvApoGlobal";

// Access rights, each with the 64-bit view flag.
inline constexpr std::uint32_t kQueryAccess = 257;             // query
inline constexpr std::uint32_t kSettingsAccess = 275;          // query, set, notify
inline constexpr std::uint32_t kApoKeyCreateAccess = 0x2011F;  // read, write

// A text value of a key; empty if there is none.
std::wstring ReadKeyText(Registry& registry, const std::wstring& path, const wchar_t* name);

// The processing object's key of a render endpoint (GUID text in upper case, with braces): from the
// endpoint's own value, else its fallback key, else in the usual place. For readers that do not
// load the whole endpoint: writes nothing.
std::wstring ProcessingKeyPath(Registry& registry, const std::wstring& guid_text);

}  // namespace orv
