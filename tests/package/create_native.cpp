#include <dlfcn.h>

#include "create_system.h"

HRESULT CreateSystem(std::string_view, IORVAPOSystem** system) {
  void* component = dlopen(ORV_COMPONENT, RTLD_NOW);
  if (component == nullptr) return E_FAIL;
  const auto get_class =
      reinterpret_cast<ORVDllGetClassObject>(dlsym(component, "DllGetClassObject"));
  if (get_class == nullptr) return E_FAIL;
  IClassFactory* factory = nullptr;
  HRESULT status =
      get_class(CLSID_ORVAPOSystem, IID_IClassFactory, reinterpret_cast<void**>(&factory));
  if (FAILED(status)) return status;
  status = factory->CreateInstance(nullptr, IID_IORVAPOSystem, reinterpret_cast<void**>(system));
  factory->Release();
  return status;
}
