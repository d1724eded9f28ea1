#include "frame/component_factory.h"

#include "platform/guard.h"

namespace orv {

HRESULT ComponentFactory::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
  *object = known ? static_cast<IClassFactory*>(this) : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

ULONG ComponentFactory::AddRef() {
  component_.Lock();
  return ++references_;
}

ULONG ComponentFactory::Release() {
  const ULONG left = --references_;
  component_.Unlock();
  return left;
}

HRESULT ComponentFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
  return Guard([&]() -> HRESULT {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    // Only the outer object may hold the inner unknown, and it asks for nothing else.
    if (outer != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    return create_(component_, outer, iid, object);
  });
}

HRESULT ComponentFactory::LockServer(BOOL lock) {
  if (lock != 0) {
    ++server_locks_;
    component_.Lock();
    return S_OK;
  }
  ULONG locks = server_locks_;
  do {
    if (locks == 0) return E_UNEXPECTED;
  } while (!server_locks_.compare_exchange_weak(locks, locks - 1));
  component_.Unlock();
  return S_OK;
}

}  // namespace orv
