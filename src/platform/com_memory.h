// Strings, task memory and variants that objects hand out, and their owners.
#pragma once

#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "orv_apo/com.h"
#include "platform/multimedia.h"

namespace orv {

struct FreeString {
  void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};
using UniqueBstr = std::unique_ptr<OLECHAR, FreeString>;

struct FreeTaskMemory {
  void operator()(void* memory) const noexcept { CoTaskMemFree(memory); }
};
template <class T>
using UniqueTaskMemory = std::unique_ptr<T, FreeTaskMemory>;

// Lets a call fill an owner through its out-parameter: `client.GetMixFormat(OutPtr(format))`. The
// owner frees its old object and has the new one after the call.
template <class Owner>
class OutPtr {
 public:
  explicit OutPtr(Owner& owner) noexcept : owner_(owner) {}
  ~OutPtr() { owner_.reset(filled_); }
  OutPtr(const OutPtr&) = delete;
  OutPtr& operator=(const OutPtr&) = delete;

  operator typename Owner::pointer *() noexcept { return &filled_; }

 private:
  Owner& owner_;
  typename Owner::pointer filled_ = nullptr;
};

struct UniquePropVariant : PROPVARIANT {
  UniquePropVariant() noexcept { PropVariantInit(this); }
  ~UniquePropVariant() { PropVariantClear(this); }
  UniquePropVariant(const UniquePropVariant&) = delete;
  UniquePropVariant& operator=(const UniquePropVariant&) = delete;
};

// All of a text, which may be null.
inline std::wstring_view ViewOf(BSTR text) noexcept {
  return text == nullptr ? std::wstring_view() : std::wstring_view(text, SysStringLen(text));
}

// A new string for the caller; the out-parameter is not null and unchanged if memory runs
// out.
inline HRESULT ReturnText(std::wstring_view text, BSTR* result) noexcept {
  if (text.size() > std::numeric_limits<UINT>::max()) return E_OUTOFMEMORY;
  BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (copy == nullptr) return E_OUTOFMEMORY;
  *result = copy;
  return S_OK;
}

// Copies the text that `object.*get` hands out in task memory, and returns its status; E_FAIL if it
// succeeds without a text. `text` is unchanged by a failure.
template <class Object>
HRESULT ReadTaskText(Object& object, HRESULT (STDMETHODCALLTYPE Object::*get)(LPWSTR*),
                     std::wstring& text) {
  UniqueTaskMemory<wchar_t> filled;
  const HRESULT status = (object.*get)(OutPtr(filled));
  if (SUCCEEDED(status) && filled != nullptr) text = filled.get();
  return SUCCEEDED(status) && filled == nullptr ? E_FAIL : status;
}

// Empty if the device does not name itself.
inline std::wstring DeviceIdentifier(IMMDevice& device) {
  std::wstring id;
  ReadTaskText(device, &IMMDevice::GetId, id);
  return id;
}

}  // namespace orv
