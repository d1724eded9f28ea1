// The ABI base of the component: status codes, identifiers, IUnknown, class factories,
// length-prefixed wide strings (BSTR), variants and safe arrays.
//
// On Windows these come from the platform's own headers. Elsewhere the headers in native/ declare
// the same names with the platform's layouts, so that one client source compiles on both.
#pragma once

#ifdef _WIN32
#ifndef _WIN64
#error "The component is a 64-bit library: 32-bit programs cannot load it."
#endif
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

}  // namespace orv_apo

// An identifier from its parts, hexadecimal digits without prefix.
#define ORV_APO_GUID(l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                               \
  {                                                                                           \
    0x##l, 0x##w1, 0x##w2, { 0x##b1, 0x##b2, 0x##b3, 0x##b4, 0x##b5, 0x##b6, 0x##b7, 0x##b8 } \
  }

// The identifier as the compiler's own __uuidof returns it, so that IID_PPV_ARGS and smart pointers
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
namespace orv_apo::native {
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
}  // namespace orv_apo::native

#define ORV_APO_UUID_OF(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)             \
  template <>                                                                             \
  struct orv_apo::native::InterfaceId<Interface> {                                        \
    static constexpr IID value = ORV_APO_GUID(l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8); \
  };
// NOLINTBEGIN(bugprone-reserved-identifier): the platform's own names.
#define __uuidof(type) (::orv_apo::native::InterfaceId<__typeof__(type)>::value)
// The identifier and the out-parameter of an operation that returns the interface that the pointer
// at `result` is for.
#define IID_PPV_ARGS(result) __uuidof(**(result)), IID_PPV_ARGS_Helper(result)
template <class Interface>
void** IID_PPV_ARGS_Helper(Interface** result) noexcept {
  static_cast<void>(static_cast<IUnknown*>(static_cast<Interface*>(nullptr)));  // interfaces only
  return reinterpret_cast<void**>(result);
}
// NOLINTEND(bugprone-reserved-identifier)
#endif

// Gives `Interface` the identifier {l-w1-w2-b1b2-b3..b8}, hexadecimal digits without prefix, as
// IID_<Interface> and as __uuidof(Interface). Use at global scope.
#define ORV_APO_INTERFACE_ID(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
  ORV_APO_UUID_OF(Interface, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)            \
  inline constexpr IID IID_##Interface = ORV_APO_GUID(l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)
