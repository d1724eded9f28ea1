// What the COM objects of the simulated machine share: operations that fail on demand, copies in
// task memory, which the caller frees, and what none of them offers.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "platform/com_object.h"
#include "platform/device_topology.h"
#include "platform/guard.h"
#include "platform/multimedia.h"
#include "simulated/description/fault_plan.h"

namespace orv {

// Runs an operation of an object unless it is planned to fail.
template <class Body>
HRESULT Operation(FaultPlan& faults, FaultOperation name, Body&& body) noexcept {
  return Guard([&]() -> HRESULT {
    if (const auto fault = faults.Check(name)) return *fault;
    return body();
  });
}

// The same of an operation that fills `result`, which is zero if it fails.
template <class Result, class Body>
HRESULT Operation(FaultPlan& faults, FaultOperation name, Result* result, Body&& body) noexcept {
  if (result == nullptr) return E_POINTER;
  *result = Result{};
  return Operation(faults, name, std::forward<Body>(body));
}

// An operation that only reports a value.
template <class Result, class Value>
HRESULT Answer(FaultPlan& faults, FaultOperation name, Result* result,
               const Value& value) noexcept {
  return Operation(faults, name, result, [&] {
    *result = static_cast<Result>(value);
    return S_OK;
  });
}

// Returns null if there is no memory; never null for a count of 0.
template <class Element>
Element* TaskCopy(const Element* source, std::size_t count) noexcept {
  auto* copy =
      static_cast<Element*>(CoTaskMemAlloc(std::max<std::size_t>(count, 1) * sizeof(Element)));
  if (copy != nullptr && count != 0) std::memcpy(copy, source, count * sizeof(Element));
  return copy;
}

inline HRESULT CopyTaskText(const std::wstring& text, LPWSTR* copy) noexcept {
  *copy = TaskCopy(text.c_str(), text.size() + 1);
  return *copy == nullptr ? E_OUTOFMEMORY : S_OK;
}

// Devices of a simulated machine come and go without a notice.
class DeviceEnumeratorBase : public CountedObject<IMMDeviceEnumerator> {
 public:
  HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE
  UnregisterEndpointNotificationCallback(IMMNotificationClient*) override {
    return E_NOTIMPL;
  }
};

// Filters have properties only.
class KsControlBase : public CountedObject<IKsControl> {
 public:
  HRESULT STDMETHODCALLTYPE KsMethod(KSIDENTIFIER*, ULONG, void*, ULONG, ULONG*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE KsEvent(KSIDENTIFIER*, ULONG, void*, ULONG, ULONG*) override {
    return E_NOTIMPL;
  }
};

}  // namespace orv
