#include "intel_dsp/intel_dsp.h"

namespace orv {

HRESULT CreateIntelDriverClient(Module&, IUnknown*, const std::wstring&, IKELAPOIntelDSP**) {
  return E_NOTIMPL;
}

HRESULT CreateIntelDspForClient(Module&, IUnknown*, REFIID, void**) { return E_NOTIMPL; }

void ReleaseIntelDriverClients() {}

}  // namespace orv
