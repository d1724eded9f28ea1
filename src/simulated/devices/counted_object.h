// What the COM objects of the simulated machine share: reference counting, interface look-up,
// operations that fail on demand, and copies in task memory, which the caller frees.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>

#include "orv_apo/com.h"
#include "platform/guard.h"
#include "simulated/description/fault_plan.h"

namespace orv {

// An object that answers IUnknown and the given interfaces. It starts with one reference, which
// belongs to its creator.
template <class First, class... Rest>
class CountedObject : public First, public Rest... {
 public:
  CountedObject() = default;
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (IsEqualIID(riid, IID_IUnknown)) *object = static_cast<First*>(this);
    Offer<First>(riid, object);
    (Offer<Rest>(riid, object), ...);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    return references_.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~CountedObject() = default;

 private:
  template <class Interface>
  void Offer(REFIID riid, void** object) {
    if (IsEqualIID(riid, orv_apo::InterfaceId<Interface>::value))
      *object = static_cast<Interface*>(this);
  }

  std::atomic<ULONG> references_{1};
};

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

}  // namespace orv
