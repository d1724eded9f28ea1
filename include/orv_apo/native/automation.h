// Native stand-ins for the automation types that cross the component's boundary: BSTR, VARIANT,
// SAFEARRAY. Layouts are the platform's 64-bit ones. Included through orv_apo/com.h only.
#pragma once

#include "orv_apo/native/com_types.h"

// ---- BSTR: wide text with its length in bytes (32 bits) just before the first character and a
// terminator after the last. Its owner frees it with SysFreeString.

using BSTR = wchar_t*;

// A new string of `length` characters, copied from `text` (zeroed if `text` is null); null when
// memory runs out or the length does not fit.
inline BSTR SysAllocStringLen(const wchar_t* text, UINT length) noexcept {
  constexpr std::size_t kPrefix = 8;  // alignment; the length is in its last four bytes
  if (length > (0x7FFFFFFFU / sizeof(wchar_t)) - 4) return nullptr;
  const std::size_t bytes = static_cast<std::size_t>(length) * sizeof(wchar_t);
  auto* block =
      static_cast<unsigned char*>(::operator new(kPrefix + bytes + sizeof(wchar_t), std::nothrow));
  if (block == nullptr) return nullptr;
  const auto prefix = static_cast<std::uint32_t>(bytes);
  std::memcpy(block + kPrefix - sizeof prefix, &prefix, sizeof prefix);
  auto* characters = reinterpret_cast<wchar_t*>(block + kPrefix);
  if (text != nullptr)
    std::memcpy(characters, text, bytes);
  else
    std::memset(characters, 0, bytes);
  characters[length] = 0;
  return characters;
}

inline BSTR SysAllocString(const wchar_t* text) noexcept {
  if (text == nullptr) return nullptr;
  UINT length = 0;
  while (text[length] != 0) ++length;
  return SysAllocStringLen(text, length);
}

inline void SysFreeString(BSTR text) noexcept {
  if (text != nullptr) ::operator delete(reinterpret_cast<unsigned char*>(text) - 8);
}

inline UINT SysStringByteLen(BSTR text) noexcept {
  if (text == nullptr) return 0;
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(text) - sizeof bytes, sizeof bytes);
  return bytes;
}

inline UINT SysStringLen(BSTR text) noexcept {
  return SysStringByteLen(text) / static_cast<UINT>(sizeof(wchar_t));
}

// ---- SAFEARRAY

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
};
static_assert(offsetof(SAFEARRAY, pvData) == 16 && sizeof(SAFEARRAY) == 32);

// ---- VARIANT

using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;

enum VARENUM : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_BSTR = 8,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_LPWSTR = 31,
  VT_BLOB = 65,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
};

namespace orv_apo::native {

struct VariantRecord {  // what makes a variant's payload two pointers wide
  void* data;
  void* description;
};

}  // namespace orv_apo::native

struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    FLOAT fltVal;
    double dblVal;
    VARIANT_BOOL boolVal;
    BSTR bstrVal;
    IUnknown* punkVal;
    SAFEARRAY* parray;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
    void* byref;
    orv_apo::native::VariantRecord record;
  };
};
static_assert(sizeof(VARIANT) == 24 && offsetof(VARIANT, llVal) == 8);

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

inline void VariantInit(VARIANT* variant) noexcept { std::memset(variant, 0, sizeof *variant); }

// ---- safe array operations, for one dimension of numbers or of BSTRs (which are freed with their
// array)

inline constexpr USHORT FADF_BSTR = 0x0100;
inline constexpr USHORT FADF_HAVEVARTYPE = 0x0080;

namespace orv_apo::native {

// An array's header is preceded by 16 hidden bytes; the element type is in the last four of them.
inline constexpr std::size_t kSafeArrayPrefix = 16;

struct ElementType {
  VARTYPE type;
  ULONG size;
};
inline constexpr ElementType kElementTypes[] = {
    {VT_I1, 1}, {VT_UI1, 1}, {VT_I2, 2},   {VT_UI2, 2}, {VT_BOOL, 2}, {VT_I4, 4}, {VT_UI4, 4},
    {VT_R4, 4}, {VT_INT, 4}, {VT_UINT, 4}, {VT_I8, 8},  {VT_UI8, 8},  {VT_R8, 8}, {VT_BSTR, 8}};

// 0 for a type that arrays do not hold.
constexpr ULONG ElementSize(VARTYPE type) noexcept {
  for (const ElementType& known : kElementTypes)
    if (known.type == type) return known.size;
  return 0;
}

}  // namespace orv_apo::native

// A new one-dimensional array of zeroed elements; null for an unsupported element type or when
// memory runs out.
inline SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG count) noexcept {
  const ULONG size = orv_apo::native::ElementSize(type);
  if (size == 0 || count > 0x7FFFFFFFU / size) return nullptr;
  const std::size_t header = orv_apo::native::kSafeArrayPrefix + sizeof(SAFEARRAY);
  const std::size_t data = static_cast<std::size_t>(size) * count;
  auto* block = static_cast<unsigned char*>(::operator new(header + data, std::nothrow));
  if (block == nullptr) return nullptr;
  std::memset(block, 0, header + data);
  const std::uint32_t stored_type = type;
  std::memcpy(block + orv_apo::native::kSafeArrayPrefix - sizeof stored_type, &stored_type,
              sizeof stored_type);
  auto* array = reinterpret_cast<SAFEARRAY*>(block + orv_apo::native::kSafeArrayPrefix);
  array->cDims = 1;
  array->fFeatures = static_cast<USHORT>(FADF_HAVEVARTYPE | (type == VT_BSTR ? FADF_BSTR : 0));
  array->cbElements = size;
  array->pvData = block + header;
  array->rgsabound[0] = {count, lower_bound};
  return array;
}

inline HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept {
  if (array == nullptr) return S_OK;
  if (array->cLocks != 0) return static_cast<HRESULT>(0x8002000D);  // DISP_E_ARRAYISLOCKED
  if ((array->fFeatures & FADF_BSTR) != 0) {
    auto* texts = static_cast<BSTR*>(array->pvData);
    for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) SysFreeString(texts[i]);
  }
  ::operator delete(reinterpret_cast<unsigned char*>(array) - orv_apo::native::kSafeArrayPrefix);
  return S_OK;
}

inline UINT SafeArrayGetDim(SAFEARRAY* array) noexcept {
  return array != nullptr ? array->cDims : 0;
}

inline HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) noexcept {
  if (array == nullptr || type == nullptr || (array->fFeatures & FADF_HAVEVARTYPE) == 0)
    return E_INVALIDARG;
  std::uint32_t stored_type = 0;
  std::memcpy(&stored_type, reinterpret_cast<const unsigned char*>(array) - sizeof stored_type,
              sizeof stored_type);
  *type = static_cast<VARTYPE>(stored_type);
  return S_OK;
}

inline HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept {
  if (array == nullptr || bound == nullptr) return E_INVALIDARG;
  if (dimension == 0 || dimension > array->cDims)
    return static_cast<HRESULT>(0x8002000B);  // DISP_E_BADINDEX
  *bound = array->rgsabound[array->cDims - dimension].lLbound;
  return S_OK;
}

inline HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept {
  const HRESULT status = SafeArrayGetLBound(array, dimension, bound);
  if (FAILED(status)) return status;
  *bound += static_cast<LONG>(array->rgsabound[array->cDims - dimension].cElements) - 1;
  return S_OK;
}

inline HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept {
  if (array == nullptr || data == nullptr) return E_INVALIDARG;
  ++array->cLocks;
  *data = array->pvData;
  return S_OK;
}

inline HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept {
  if (array == nullptr) return E_INVALIDARG;
  if (array->cLocks == 0) return E_UNEXPECTED;
  --array->cLocks;
  return S_OK;
}

// Frees what the variant owns and empties it.
inline HRESULT VariantClear(VARIANT* variant) noexcept {
  if (variant == nullptr) return E_INVALIDARG;
  if ((variant->vt & VT_BYREF) == 0) {
    if ((variant->vt & VT_ARRAY) != 0) {
      const HRESULT status = SafeArrayDestroy(variant->parray);
      if (FAILED(status)) return status;
    } else if (variant->vt == VT_BSTR) {
      SysFreeString(variant->bstrVal);
    } else if (variant->vt == VT_UNKNOWN && variant->punkVal != nullptr) {
      variant->punkVal->Release();
    }
  }
  VariantInit(variant);
  return S_OK;
}
