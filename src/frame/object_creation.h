// How every object is created: allocated, counted in the module, set up under its creator's
// reference, then asked for an interface. A failing step destroys it.
#pragma once

#include <new>
#include <utility>

#include "platform/com_ptr.h"

namespace orv {

// A new object on its own. Its constructor and FinalConstruct may throw.
template <class Object, class... Args>
HRESULT CreateObject(ComPtr<Object>& object, Args&&... args) {
  auto made = ComPtr<Object>::Adopt(new (std::nothrow) Object(std::forward<Args>(args)...));
  if (!made) return E_OUTOFMEMORY;
  const HRESULT status = made->FinalConstruct();
  if (SUCCEEDED(status)) object = std::move(made);
  return status;
}

// The same, handed to the caller as one of its interfaces; E_POINTER if `result` is null.
template <class Object, class Interface, class... Args>
HRESULT HandOut(Interface** result, Args&&... args) {
  ComPtr<Object> object;
  const HRESULT status = CreateObject(object, std::forward<Args>(args)...);
  if (FAILED(status)) return status;
  return object->QueryInterface(IID_PPV_ARGS(result));
}

// The same for a client's class factory: aggregated into `outer` if that is not null.
template <class Object, class... Args>
HRESULT CreateForClient(IUnknown* outer, REFIID iid, void** result, Args&&... args) {
  auto* object = new (std::nothrow) Object(std::forward<Args>(args)...);
  if (object == nullptr) return E_OUTOFMEMORY;
  const auto inner = ComPtr<IUnknown>::Adopt(object->inner_unknown());
  object->AggregateInto(outer);
  const HRESULT status = object->FinalConstruct();
  return FAILED(status) ? status : inner->QueryInterface(iid, result);
}

}  // namespace orv
