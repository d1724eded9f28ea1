// What an endpoint hands out besides its modes and properties: DSP control and analysis.
#pragma once

#include "analysis/analysis_data.h"
#include "api/endpoint_context.h"
#include "intel_dsp/intel_dsp.h"
#include "qc_dsp/qualcomm_dsp.h"

namespace orv {

// A new object for the endpoint, with one reference for the caller; else its creation status, the
// out-parameter (never null) null. Without such a DSP: E_FAIL (Intel), E_NOTIMPL (Qualcomm).
inline HRESULT CreateIntelDsp(Module& module, EndpointContext& endpoint, IKELAPOIntelDSP** dsp) {
  return CreateIntelDriverClient(module, endpoint.unknown(), endpoint.record().endpoint_id(), dsp);
}
inline HRESULT CreateQualcommDsp(Module& module, EndpointContext& endpoint, IORVAPOQCDSP** dsp) {
  return CreateQualcommDspForEndpoint(module, endpoint.unknown(), endpoint.record().device(), dsp);
}
inline HRESULT CreateAnalysis(Module& module, EndpointContext& endpoint, IAnalysisData** analysis) {
  return CreateAnalysisData(module, endpoint.unknown(), endpoint.record().endpoint_id(), analysis);
}

}  // namespace orv
