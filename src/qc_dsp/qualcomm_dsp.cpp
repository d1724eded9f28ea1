#include "qc_dsp/qualcomm_dsp.h"

namespace orv {

HRESULT CreateQualcommDspForEndpoint(Module&, IUnknown*, IMMDevice*, IORVAPOQCDSP**) {
  return E_NOTIMPL;
}

HRESULT CreateQualcommDspForClient(Module&, IUnknown*, REFIID, void**) { return E_NOTIMPL; }

}  // namespace orv
