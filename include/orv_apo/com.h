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

// Gives `Interface` the identifier {l-w1-w2-b1b2-b3..b8} under two names: IID_<Interface> and
// orv_apo::InterfaceId<Interface>::value. Use at global scope.
#define ORV_APO_INTERFACE_ID(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)      \
  inline constexpr IID IID_##Interface = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}; \
  template <>                                                                           \
  struct orv_apo::InterfaceId<Interface> {                                              \
    static constexpr const IID& value = IID_##Interface;                                \
  }
