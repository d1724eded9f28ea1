// Live peaks and spectra of what an endpoint plays.
#pragma once

#include <string>

#include "frame/module.h"
#include "orv_apo/orv_apo.h"

namespace orv {

// A new object that captures the endpoint with this device identifier; `endpoint` is kept alive
// by it (null: E_INVALIDARG). One reference for the caller; else the status of the step that
// failed, and `analysis` is null. E_FAIL when kAnalysisTransform is not registered.
HRESULT CreateAnalysisData(Module& module, IUnknown* endpoint, const std::wstring& device_id,
                           IAnalysisData** analysis);

}  // namespace orv
