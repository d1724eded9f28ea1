// Reference counting and interface look-up of the simulated machine's COM objects.
#pragma once

#include <atomic>

#include "orv_apo/com.h"
#include "platform/guard.h"

namespace orv {

// An object that answers IUnknown and the given interfaces. It starts with one reference, which
// belongs to whoever made it.
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

}  // namespace orv
