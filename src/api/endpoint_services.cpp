#include "api/endpoint_services.h"

namespace orv {

HRESULT CreateIntelDsp(Module&, EndpointContext&, IKELAPOIntelDSP**) { return E_NOTIMPL; }

HRESULT CreateQualcommDsp(Module&, EndpointContext&, IORVAPOQCDSP**) { return E_NOTIMPL; }

HRESULT CreateAnalysis(Module&, EndpointContext&, IAnalysisData**) { return E_NOTIMPL; }

HRESULT CreateIntelDspForClient(Module&, IUnknown*, REFIID, void**) { return E_NOTIMPL; }

HRESULT CreateQualcommDspForClient(Module&, IUnknown*, REFIID, void**) { return E_NOTIMPL; }

}  // namespace orv
