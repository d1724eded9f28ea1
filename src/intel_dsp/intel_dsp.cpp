#include "intel_dsp/intel_dsp.h"

#include "intel_dsp/intel_dsp_object.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"

namespace orv {

HRESULT CreateIntelDriverClient(Module& module, IUnknown* endpoint, const std::wstring& device_id,
                                IKELAPOIntelDSP** dsp) {
  if (dsp == nullptr) return E_POINTER;
  *dsp = nullptr;
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::CreateIntelDriverClient");
  const HRESULT status = Guard([&]() -> HRESULT {
    ComPtr<CKELAPOIntelDSP> object;
    const HRESULT made = CreateObject(object, module, /*for_endpoint=*/true);
    if (FAILED(made)) return made;
    const HRESULT attached = object->AttachEndpoint(endpoint, device_id);
    if (SUCCEEDED(attached)) *dsp = object.Detach();
    return attached;
  });
  if (FAILED(status)) Diagnose(here, L"Error, failed to access Intel driver/module. \n");
  Diagnose(here, L"status=0x%x, %s\n", status, SUCCEEDED(status) ? L"OK" : L"FAILED");
  return status;
}

HRESULT CreateIntelDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object) {
  return CreateForClient<CKELAPOIntelDSP>(outer, iid, object, module);
}

void ReleaseIntelDriverClients() { IntelDriverClients::OfProcess().Release(); }

}  // namespace orv
