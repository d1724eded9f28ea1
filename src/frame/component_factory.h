// The class factory of every creatable class.
#pragma once

#include <atomic>

#include "frame/object_creation.h"
#include "frame/ref_counted.h"

namespace orv {

// Kept by the module for its lifetime, so a factory does not hold the module; LockServer does.
class ComponentFactory final : public RefCounted<MultiThreaded, Chain<IClassFactory>> {
 public:
  ComponentFactory(Module& module, CreateFunction create) noexcept
      : RefCounted(nullptr), component_(module), create_(create) {}

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
  // E_UNEXPECTED for an unlock without a lock: the objects' own counts stay untouched.
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  Module& component_;
  CreateFunction create_;
  std::atomic<ULONG> server_locks_{0};
};

}  // namespace orv
