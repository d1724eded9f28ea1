// The ABI base of the component: status codes, identifiers, IUnknown, class factories,
// length-prefixed wide strings (BSTR), variants and safe arrays.
//
// On Windows these come from the platform's own headers. Elsewhere the headers in native/ declare
// the same names with the platform's layouts, so that one client source compiles on both.
#pragma once

#ifdef _WIN32
#include <windows.h>
// windows.h first: the COM headers below depend on it.
#include <oaidl.h>
#include <objbase.h>
#include <oleauto.h>
#else
#include "orv_apo/native/automation.h"
#include "orv_apo/native/com_types.h"
#endif

namespace orv_apo {

// Status codes of the component that the platform's headers do not name (or name only as Win32
// errors).
inline constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);  // no such mode or control
inline constexpr HRESULT kNotInitialized =
    static_cast<HRESULT>(0x801F0007);                  // InitializeSystem was not called
inline constexpr HRESULT kAlreadyInitialized = 0x4DF;  // success: InitializeSystem came twice
inline constexpr HRESULT kAborted = static_cast<HRESULT>(0x80004004);  // a DSP write was abandoned

// The status form of a system error code: 0 stays 0, everything else gets facility 7.
constexpr HRESULT StatusOfSystemError(DWORD error) noexcept {
  return error == 0 ? S_OK : static_cast<HRESULT>((error & 0xFFFFU) | 0x80070000U);
}

// Interface identifier of an interface declared in this library's headers; specialised by
// ORV_APO_INTERFACE_ID.
template <class Interface>
struct InterfaceId;

template <>
struct InterfaceId<IUnknown> {
  static constexpr const IID& value = IID_IUnknown;
};
template <>
struct InterfaceId<IClassFactory> {
  static constexpr const IID& value = IID_IClassFactory;
};

}  // namespace orv_apo

// The identifier as the compiler's own __uuidof gives it, so that IID_PPV_ARGS and smart pointers
// that are built on it know the interface.
#if defined(_MSC_VER)
#define ORV_APO_TEXT(text) #text
#define ORV_APO_UUID(Interface, text) struct __declspec(uuid(ORV_APO_TEXT(text))) Interface;
// The text must not have blanks.
// clang-format off
#define ORV_APO_UUID_OF(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
  ORV_APO_UUID(Interface, l-w1-w2-b1##b2-b3##b4##b5##b6##b7##b8)
// clang-format on
#elif defined(_WIN32)
#define ORV_APO_UUID_OF(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)               \
  __CRT_UUID_DECL(Interface, 0x##l, 0x##w1, 0x##w2, 0x##b1, 0x##b2, 0x##b3, 0x##b4, 0x##b5, \
                  0x##b6, 0x##b7, 0x##b8)
#else
#define ORV_APO_UUID_OF(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)
#endif

// Gives `Interface` the identifier {l-w1-w2-b1b2-b3..b8}, hexadecimal digits without prefix, as
// IID_<Interface>, as orv_apo::InterfaceId<Interface>::value and, on Windows, as
// __uuidof(Interface). Use at global scope.
#define ORV_APO_INTERFACE_ID(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)              \
  ORV_APO_UUID_OF(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                         \
  inline constexpr IID IID_##Interface = {                                                      \
      0x##l, 0x##w1, 0x##w2, {0x##b1, 0x##b2, 0x##b3, 0x##b4, 0x##b5, 0x##b6, 0x##b7, 0x##b8}}; \
  template <>                                                                                   \
  struct orv_apo::InterfaceId<Interface> {                                                      \
    static constexpr const IID& value = IID_##Interface;                                        \
  }
