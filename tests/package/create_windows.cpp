#include "create_system.h"

HRESULT CreateSystem(std::string_view apartment, IORVAPOSystem** system) {
  const HRESULT status =
      CoInitializeEx(nullptr, apartment == "sta" ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED);
  if (FAILED(status)) return status;
  return CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(system));
}
