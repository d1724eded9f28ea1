// What an endpoint hands out besides its modes and properties: DSP control and analysis.
#pragma once

#include "api/endpoint_context.h"
#include "frame/module.h"

namespace orv {

// A new object for the endpoint, with one reference for the caller; else its creation status, the
// out-parameter (never null) as it was. E_NOTIMPL where the endpoint has no such DSP.
HRESULT CreateIntelDsp(Module& module, EndpointContext& endpoint, IKELAPOIntelDSP** dsp);
HRESULT CreateQualcommDsp(Module& module, EndpointContext& endpoint, IORVAPOQCDSP** dsp);
HRESULT CreateAnalysis(Module& module, EndpointContext& endpoint, IAnalysisData** analysis);

// For class factories: an object without an endpoint.
HRESULT CreateIntelDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object);
HRESULT CreateQualcommDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object);

}  // namespace orv
