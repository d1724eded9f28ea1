// Native stand-ins for the platform's COM base types: same names, same sizes, same slot order.
// Included through orv_apo/com.h only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;  // 32 bits as on the platform, whatever `long` is here
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using FLOAT = float;
using HRESULT = std::int32_t;
using WCHAR = wchar_t;  // holds one UTF-16 code unit, although the type is wider here
using OLECHAR = wchar_t;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using LPOLESTR = wchar_t*;
using LPCOLESTR = const wchar_t*;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

#define STDMETHODCALLTYPE
#define STDAPICALLTYPE

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
static_assert(sizeof(GUID) == 16);
inline bool operator==(const GUID& a, const GUID& b) noexcept {
  return std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool operator!=(const GUID& a, const GUID& b) noexcept { return !(a == b); }
inline bool IsEqualGUID(const GUID& a, const GUID& b) noexcept { return a == b; }
inline bool IsEqualIID(const GUID& a, const GUID& b) noexcept { return a == b; }
inline bool IsEqualCLSID(const GUID& a, const GUID& b) noexcept { return a == b; }

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline constexpr GUID GUID_NULL = {};

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111);

constexpr bool SUCCEEDED(HRESULT status) noexcept { return status >= 0; }
constexpr bool FAILED(HRESULT status) noexcept { return status < 0; }

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory = {
    0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// Interfaces have no virtual destructor: their table holds exactly the slots that are declared.
struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};

struct IClassFactory : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) = 0;
  virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;

 protected:
  ~IClassFactory() = default;
};

// Task memory: what an object hands out by plain pointer and the caller frees.
inline void* CoTaskMemAlloc(std::size_t size) noexcept {
  return ::operator new(size, std::nothrow);
}
inline void CoTaskMemFree(void* memory) noexcept { ::operator delete(memory); }
