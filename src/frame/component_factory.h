// The class factory of every creatable class.
#pragma once

#include <atomic>

#include "frame/module.h"

namespace orv {

// Lives as long as the module, which owns it. Each reference and each server lock counts one in the
// module, so that the library stays loaded while a client holds the factory.
class ComponentFactory final : public IClassFactory {
 public:
  ComponentFactory(Module& module, CreateFunction create) noexcept
      : component_(module), create_(create) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
  // E_UNEXPECTED for an unlock without a lock: the objects' own counts stay untouched.
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  Module& component_;
  CreateFunction create_;
  std::atomic<ULONG> references_{0};
  std::atomic<ULONG> server_locks_{0};
};

}  // namespace orv
